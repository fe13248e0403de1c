// What a link can ask to be told of.
#include "handlers/handlers.h"

namespace zivra::sim {

void addWatchHandlers(Handlers& h) {
  for (const char* key :
       {"move.last_error_with_setting", "safety.event.collision", "project.tasks_pointer", "log.user"})
    h.watch(key);
}

}  // namespace zivra::sim
