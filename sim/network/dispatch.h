// From a frame to its answer: reads the request, applies the faults laid out for it, runs the handlers and
// keeps what is to go out in the order in which it happened.
#pragma once

#include <deque>
#include <json/json.h>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "handlers/handlers.h"
#include "network/faults.h"
#include "network/server.h"
#include "world.h"

namespace zivra::sim {

// Everything marked "locked" is called with the world's mutex held; frame, forget and takeDeliveries take it
// themselves and are called on the network thread.
class Dispatch {
 public:
  Dispatch(World& world, std::mutex& worldMutex, Faults& faults)
      : world_(world), worldMutex_(worldMutex), faults_(faults) {}

  void frame(LinkId link, std::string_view text);
  void forget(LinkId link);
  std::vector<Delivery> takeDeliveries();

  void collectPushes();          // locked: hands the world's pushes and late answers to those concerned
  void post(Delivery delivery);  // locked
  const std::deque<std::string>& requests() const { return requests_; }  // locked
  bool hasDeliveries() const { return !outbox_.empty(); }                // locked

 private:
  struct Answer {
    Json::Value body{Json::objectValue};
    std::chrono::milliseconds delay{0};
    std::optional<Fault> instead;         // mute, drop or garbage
    std::map<Ticket, std::string> later;  // keys whose values are still to come
  };
  // A reply that can't go out yet.
  struct Unfinished {
    LinkId link;
    std::string letter;
    Json::Value reply;
    Answer answer;
  };
  void answerKey(LinkId link, char form, const std::string& key, const Json::Value& parameter,
                 const std::string& id, Answer& answer);
  Reply handle(LinkId link, char form, const std::string& key, const Json::Value& parameter,
               const std::string& id);
  int switchWatch(LinkId link, const std::string& key, bool on);
  void finish(Unfinished unfinished);
  void send(LinkId link, const std::string& text, const Answer& answer);

  World& world_;
  std::mutex& worldMutex_;
  Faults& faults_;
  std::map<LinkId, std::set<std::string>> watches_;
  std::list<Unfinished> unfinished_;
  std::vector<Delivery> outbox_;
  std::deque<std::string> requests_;
};

}  // namespace zivra::sim
