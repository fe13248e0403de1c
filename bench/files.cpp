// Files on their way to a controller: the library against a bare blocking send of the same bytes and one
// digest of them, in turns; and the memory that it takes meanwhile.
#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <fmt/format.h>
#include <fstream>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <zivra/upgrade.h>

#include "bench.h"
#include "network/xservice/transfer.h"
#include "network/xservice/xservice.h"

namespace zivra::bench {

namespace {

constexpr std::uint16_t filePort = 7777, upgradePort = 4567;
constexpr std::size_t fileSize = 10'485'760, packageSize = 100 * 1024 * 1024;
const std::string acknowledgement = "{\"f\":\"success\"}\r";

std::string answer(const std::string& json) {
  const auto size = static_cast<char>(json.size());
  return std::string{0, static_cast<char>(size + 6), 0, 0, 0, size, 2, 0} + json;
}
const std::string verdict = answer("{\"s\":{\"file_transfer\":true}}") + answer("{\"upgrade\":\"ok\"}");

sockaddr_in endpointOf(const std::string& address, std::uint16_t port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  ::inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr);
  return endpoint;
}

// Takes so many bytes, answers, and begins again, on one link after the other. A process of its own.
class Sink {
 public:
  Sink(const std::string& address, std::uint16_t port, std::size_t size, const std::string& word) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0), on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in where = endpointOf(address, port);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0 ||
        ::listen(listener, 16) != 0)
      throw std::runtime_error(fmt::format("can't listen on {}:{}", address, port));
    process_ = ::fork();
    if (process_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      serve(listener, size, word);
    }
    ::close(listener);
  }
  ~Sink() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

 private:
  [[noreturn]] static void serve(int listener, std::size_t size, const std::string& word) {
    static char bytes[256 * 1024];
    for (;;) {
      const int fd = ::accept(listener, nullptr, nullptr);
      for (std::size_t taken = 0;;) {
        const ssize_t got = ::recv(fd, bytes, sizeof bytes, 0);
        if (got <= 0) break;
        taken += static_cast<std::size_t>(got);
        if (taken < size) continue;
        taken = 0;
        if (::send(fd, word.data(), word.size(), MSG_NOSIGNAL) <= 0) break;
      }
      ::close(fd);
    }
  }
  pid_t process_ = -1;
};

// What has to be done in any case.
double bareMilliseconds(const std::string& address, std::uint16_t port, const std::string& bytes,
                        std::size_t answerSize) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in where = endpointOf(address, port);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&where), sizeof where) != 0)
    throw std::runtime_error("can't connect to the sink");
  const std::int64_t begin = nowNs();
  unsigned char digest[16];
  ::EVP_Digest(bytes.data(), bytes.size(), digest, nullptr, EVP_md5(), nullptr);
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) throw std::runtime_error("the sink has gone");
    sent += static_cast<std::size_t>(count);
  }
  char answer[256];
  for (std::size_t got = 0; got < answerSize;) {
    const ssize_t count = ::recv(fd, answer, sizeof answer, 0);
    if (count <= 0) throw std::runtime_error("the sink has gone");
    got += static_cast<std::size_t>(count);
  }
  const std::int64_t end = nowNs();
  ::close(fd);
  return static_cast<double>(end - begin) * 1e-6;
}

std::string writeFile(const std::string& name, std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
  std::ofstream(name, std::ios::binary) << bytes;
  return bytes;
}

void require(const std::error_code& ec, const char* what) {
  if (ec) throw std::runtime_error(fmt::format("{}: {}", what, ec.value()));
}

struct FileLink {
  explicit FileLink(const Peer& peer) {
    std::error_code ec;
    service.setEndpoint(peer.address(), 6666);
    service.start(ec);
    require(ec, "start");
    if (!service.transfer->connected()) throw std::runtime_error("no file link");
    description["file_name"] = "bench";
    description["function"] = "import_project";
    description["overwrite"] = true;
  }
  void send(const XService::Progress& progress = {}) {
    std::error_code ec;
    service.sendFile("file", fileSize, description, ec, progress);
    require(ec, "sendFile");
  }
  XService service;
  Json::Value description{Json::objectValue};
};

template <class Work>
double millisecondsOf(Work&& work) {
  const std::int64_t begin = nowNs();
  work();
  return static_cast<double>(nowNs() - begin) * 1e-6;
}

template <class Bare, class Own>
void compare(Table& table, const std::string& what, int turns, Bare&& bare, Own&& own) {
  std::vector<double> ratios, bareTimes, ownTimes;
  for (int i = 0; i < turns; ++i) {
    bareTimes.push_back(bare());
    ownTimes.push_back(own());
    ratios.push_back(ownTimes.back() / bareTimes.back());
  }
  table.row(what + ", ratio (median of turns)", number(median(ratios), "x"),
            number(median(bareTimes), "ms bare"), "at most 1.1 x");
  table.row(what + ", time", number(median(ownTimes), "ms"), number(median(bareTimes), "ms bare"), "");
}

// The most that is resident while the work is done, looked at every millisecond.
template <class Work>
double highestKiB(Work&& work) {
  std::atomic<bool> done{false};
  std::atomic<double> highest{residentKiB()};
  std::thread watcher([&] {
    while (!done) {
      if (const double now = residentKiB(); now > highest) highest = now;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  work();
  done = true;
  watcher.join();
  return highest;
}

}  // namespace

void files(const Peer& peer, Table& table, bool quick) {
  const Sink fileSink(peer.address(), filePort, fileSize, acknowledgement);
  const Sink upgradeSink(peer.address(), upgradePort, packageSize + 47, verdict);
  const std::string file = writeFile("file", fileSize);
  std::string package = writeFile("package", packageSize);
  package.append(47, '\0');  // the head of its packet, whatever it says

  table.section("Files, against a digest and a bare blocking send of the same bytes out of memory");
  // One link at a time: the sink serves no two.
  compare(
      table, "file of 10 MiB", quick ? 5 : 31,
      [&] { return bareMilliseconds(peer.address(), filePort, file, acknowledgement.size()); },
      [&] {
        FileLink link(peer);
        return millisecondsOf([&] { link.send(); });
      });
  compare(
      table, "package of 100 MiB", quick ? 3 : 11,
      [&] { return bareMilliseconds(peer.address(), upgradePort, package, verdict.size()); },
      [&] {
        BaseUpgrade upgrade(peer.address());
        std::error_code ec;
        const double time = millisecondsOf([&] { upgrade.upgrade("package", ec); });
        require(ec, "upgrade");
        return time;
      });
}

void filesMemory(const Peer& peer, Table& table) {
  const Sink fileSink(peer.address(), filePort, fileSize, acknowledgement);
  const Sink upgradeSink(peer.address(), upgradePort, packageSize + 47, verdict);
  writeFile("file", fileSize);
  writeFile("package", packageSize);
  constexpr double mebi = 1024;
  {
    FileLink link(peer);
    const double before = residentKiB();
    const double highest = highestKiB([&] { link.send([](std::uint64_t, std::uint64_t) {}); });
    table.section("Memory of transfers");
    table.row("file of 10 MiB, above idle", number((highest - before) / mebi, "MiB"),
              number(before / mebi, "MiB idle"), "at most 12 MiB");
  }
  BaseUpgrade upgrade(peer.address());
  const double before = residentKiB();
  const double highest = highestKiB([&] {
    std::error_code ec;
    upgrade.upgrade("package", ec);
    require(ec, "upgrade");
  });
  table.row("package of 100 MiB, above idle, in packages", number((highest - before) / mebi / 100, "x"),
            number(before / mebi, "MiB idle"), "at most 2.2 x");
}

}  // namespace zivra::bench
