// A controller that says what a test wants it to say, on a real socket at an address of its own. Shares no
// code with the library.
//
// Threads: one of its own reads and answers; every operation may be called from any thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/loopback.h"

namespace zivra::test {

struct ControllerIdentity {
  std::string id = "scripted";
  std::string version = "3.1.2";
  std::string type = "Tandi";
  int axes = 6;
  std::string workType = "cobot";

  std::string json() const;
};

// One request as it came.
struct Request {
  char form = 0;     // g, s, c, w; 0 if it has none
  std::string key;   // the first, if there are several
  std::string id;    // JSON text
  std::string text;  // the frame without its end
  int link = 0;      // counts the connections, from 1

  // `{"c":{"<key>":<value>},"id":<id>}`
  std::string reply(const std::string& value) const;
  // `{"c":<body>,"id":<id>}`
  std::string replyBody(const std::string& body) const;
};

class ScriptedController {
 public:
  // Whole frames to send back, without their ends; none: no answer.
  using Answer = std::function<std::vector<std::string>(const Request&)>;

  explicit ScriptedController(const ControllerIdentity& identity = {}, int network = 40);
  ~ScriptedController();
  ScriptedController(const ScriptedController&) = delete;
  ScriptedController& operator=(const ScriptedController&) = delete;

  const std::string& address() const { return address_.text(); }

  // What a key is answered with. A key that nothing is known of gets the controller's refusal.
  void answer(const std::string& key, const std::string& value);
  // On the controller's thread, which may also drop or close links meanwhile.
  void answerBy(const std::string& key, Answer answer);
  void mute(const std::string& key) {
    answerBy(key, [](const Request&) { return std::vector<std::string>(); });
  }
  void dropAt(const std::string& key);  // resets the link in place of an answer

  // What came, with the end cut off.
  std::vector<Request> requests() const;
  std::vector<std::string> frames() const;
  std::size_t count(const std::string& key) const;
  void forgetRequests();
  bool waitForRequest(const std::string& key, std::size_t times = 1) const;

  void listen();
  void stopListening();
  void drop();   // ends all links with a reset
  void close();  // ends all links in order
  bool waitForLinks(std::size_t count) const;
  void stopReading(bool on);
  void slice(std::size_t bytes);   // sends in pieces of that many bytes; 0: whole
  void send(std::string bytes);    // as they stand, to all links
  void push(const std::string& n)  // the value of "n"
  {
    send("{\"n\":" + n + ",\"ts\":1}\r");
  }
  // From now on it neither listens nor has links, as if it had been killed.
  void die() {
    stopListening();
    drop();
  }

 private:
  struct Link {
    int number;
    Descriptor socket;
    std::string in, out;
    bool closing = false;
  };

  void run();
  void poll(std::unique_lock<std::mutex>& lock);
  void accept();
  void receive(Link& link, std::unique_lock<std::mutex>& lock);
  void transmit(Link& link);
  std::vector<std::string> answersTo(const Request& request, std::unique_lock<std::mutex>& lock);
  void endLinks(bool reset);
  void wake();

  LoopbackAddress address_;
  Descriptor wakeRead_, wakeWrite_;
  mutable std::mutex mutex_;  // of everything below; held while nothing of the test's runs
  mutable std::condition_variable changed_;
  Descriptor listener_;
  std::vector<Link> links_;
  int linksSoFar_ = 0;
  std::map<std::string, Answer> answers_;
  std::vector<Request> requests_;
  std::size_t slice_ = 0;
  bool reading_ = true, listenerEnds_ = false, ends_ = false;
  std::thread thread_;
};

}  // namespace zivra::test
