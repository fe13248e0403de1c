// What the controller says about moves: from JSON of any shape to what the queue and the watcher are to do.
// Nothing here throws anything but std::bad_alloc. Any thread.
#pragma once

#include <cstdint>
#include <json/json.h>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "motion_control/move_events.h"

namespace zivra::internal {

// What is read of one message; small, whatever else the message holds.
struct MoveNotice {
  enum class Kind {
    reply,      // to a batch; only refusals matter
    news,       // of a move
    failedSend  // of our own: an event that couldn't be told where it arose
  };

  Kind kind = Kind::news;
  std::vector<int> refusals;  // reply
  std::optional<int> error;   // news; nothing if there is none
  std::string id;             // with the custom text
  int point = 0;
  std::string msg;
  MoveEvent failure;  // failedSend

  // Nobody waits for it: it neither ends a command nor tells of an error.
  bool isProgress() const noexcept;
  std::size_t bytes() const noexcept;
};

// Nothing for a message that causes nothing, such as the acceptance of a batch.
std::optional<MoveNotice> readNotice(const Json::Value& message);

// What a notice of a move means.
struct MoveVerdict {
  MoveEvent event;
  bool wipe = false;      // the controller has dropped its moves
  bool finished = false;  // one command of the queue's has ended
  bool notify = false;
};

MoveVerdict judgeNews(const MoveNotice& notice);
MoveEvent refusalEvent(const MoveNotice& notice, int code);

}  // namespace zivra::internal
