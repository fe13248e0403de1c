// The file link of a scripted controller.
//
// Threads: one of its own reads and acknowledges; every operation may be called from any thread.
#pragma once

#include <mutex>
#include <string>
#include <thread>

#include "support/loopback.h"

namespace zivra::test {

// Acknowledges each piece that comes, so that a file has to come in one: it is for small ones.
class AcknowledgingLink {
 public:
  explicit AcknowledgingLink(const std::string& address);
  ~AcknowledgingLink();
  AcknowledgingLink(const AcknowledgingLink&) = delete;
  AcknowledgingLink& operator=(const AcknowledgingLink&) = delete;

  void acknowledgeWith(const std::string& json);  // {"f":"success"} at first
  std::string received() const;                   // all bytes so far

 private:
  void run();

  mutable std::mutex mutex_;
  std::string acknowledgement_ = R"({"f":"success"})", received_;
  Descriptor listener_, wakeRead_, wakeWrite_;
  std::thread thread_;
};

}  // namespace zivra::test
