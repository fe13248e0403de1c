#include <zivra/move_command.h>

namespace zivra {

NrtCommand::~NrtCommand() = default;

}  // namespace zivra
