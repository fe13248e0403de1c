#include "support/acknowledging_link.h"

#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace zivra::test {

AcknowledgingLink::AcknowledgingLink(const std::string& address) : listener_(listenOn(address, 7777)) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
  wakeRead_ = Descriptor(ends[0]);
  wakeWrite_ = Descriptor(ends[1]);
  thread_ = std::thread([this] { run(); });
}

AcknowledgingLink::~AcknowledgingLink() {
  wakeWrite_.reset();
  thread_.join();
}

void AcknowledgingLink::acknowledgeWith(const std::string& json) {
  const std::lock_guard lock(mutex_);
  acknowledgement_ = json;
}

std::string AcknowledgingLink::received() const {
  const std::lock_guard lock(mutex_);
  return received_;
}

void AcknowledgingLink::run() {
  Descriptor link;
  while (true) {
    pollfd watched[] = {{wakeRead_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}, {link.get(), POLLIN, 0}};
    ::poll(watched, 3, -1);
    if (watched[0].revents != 0) return;
    if (watched[1].revents != 0)
      link = Descriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (watched[2].revents == 0) continue;
    char bytes[65536];
    const auto count = ::recv(link.get(), bytes, sizeof bytes, 0);
    if (count <= 0) {
      link.reset();
      continue;
    }
    const std::lock_guard lock(mutex_);
    received_.append(bytes, static_cast<std::size_t>(count));
    const std::string frame = acknowledgement_ + '\r';
    ::send(link.get(), frame.data(), frame.size(), MSG_NOSIGNAL);
  }
}

}  // namespace zivra::test
