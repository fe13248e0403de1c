#include "peer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "measure.h"

namespace zivra::bench {

namespace {

constexpr std::uint16_t commandPort = 6666;

sockaddr_in endpointOf(const std::string& address) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(commandPort);
  if (inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr) != 1)
    throw std::runtime_error("no address: " + address);
  return endpoint;
}

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string_view between(std::string_view text, std::string_view before, std::string_view ends) {
  const auto begin = text.find(before);
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin + before.size());
  return text.substr(0, text.find_first_of(ends));
}

// The value that the key's request is answered with.
std::string_view valueOf(std::string_view key, std::string_view parameter) {
  if (key == "sys.power") return "\"on\"";
  if (key == "sys.state") return "\"idle\"";
  if (key == "sys.info") {
    return R"({"id":"bench","joint_num":6,"mac":"","type":"bench","version":"3.1.0","work_type":"cobot"})";
  }
  if (key == "eci.port") return R"({"broadcast":1338,"rt":1337})";
  if (key == "bench.echo") return parameter;
  return "0";
}

enum class Verdict { answered, silent, drop };

// Events that a link is owed.
struct News {
  std::size_t count = 0;
  std::int64_t dueNs = 0;
};

// In a moment the link is idle again, as it mostly is when something happens.
constexpr std::int64_t newsDelayNs = 1'000'000;

// The end of a move, with the time of its sending.
void appendNews(std::string& out) {
  out += R"({"n":{"move.last_error_with_setting":{"error":0,"data":{"id":"l#1*@)";
  out += std::to_string(nowNs());
  out += R"(","point":0,"msg":"finish"}}},"ts":0})";
  out += '\r';
}

// Moves are answered too, as a controller does: without that the next frame of the link would wait 40 ms for
// the acknowledgement of a move.
Verdict answer(std::string_view frame, std::string& out, News& news) {
  const std::string_view id = between(frame, "\"id\":", ",}");
  if (id.empty()) return Verdict::silent;
  for (const char letter : {'g', 'c', 's', 'w'}) {
    const std::string opening = {'"', letter, '"', ':', '{', '"'};
    const std::string_view key = between(frame, opening, "\"");
    if (key.empty()) continue;
    if (key == "bench.drop") return Verdict::drop;
    if (key == "bench.mute") return Verdict::silent;
    if (key == "move.continue" || key == "move.pause")
      news = {key == "move.pause" ? eventsAtOnce : 1, nowNs() + newsDelayNs};
    const std::string_view parameter = between(frame, std::string(key) + "\":", "},");
    out += "{\"";
    out += letter;
    out += "\":{\"";
    out += key;
    out += "\":";
    out += valueOf(key, parameter);
    out += "},\"id\":";
    out += id;
    out += "}\r";
    return Verdict::answered;
  }
  return Verdict::silent;
}

struct Link {
  std::string pending;
  News news;
};

bool sendAll(int fd, const std::string& out) {
  return out.empty() || ::send(fd, out.data(), out.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(out.size());
}

// False if the link is over.
bool serve(int fd, Link& link, Shared& shared) {
  char buffer[65536];
  const ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
  if (got <= 0) return false;
  std::string& pending = link.pending;
  pending.append(buffer, static_cast<std::size_t>(got));
  std::string out;
  std::size_t begin = 0;
  for (std::size_t end; (end = pending.find('\r', begin)) != std::string::npos; begin = end + 1) {
    if (answer(std::string_view(pending).substr(begin, end - begin), out, link.news) == Verdict::drop) {
      shared.droppedAtNs = nowNs();
      return false;
    }
  }
  pending.erase(0, begin);
  return sendAll(fd, out);
}

// Sends what is due; false if something is owed still.
bool tellNews(std::map<int, Link>& links) {
  bool all = true;
  for (auto& [fd, link] : links) {
    if (link.news.count == 0) continue;
    if (nowNs() < link.news.dueNs) {
      all = false;
      continue;
    }
    std::string out;
    for (; link.news.count > 0; --link.news.count) appendNews(out);
    sendAll(fd, out);  // a link that is over is found at its next turn
  }
  return all;
}

[[noreturn]] void run(int listener, Shared& shared) {
  std::vector<pollfd> polled{{listener, POLLIN, 0}};
  std::map<int, Link> links;
  for (;;) {
    if (::poll(polled.data(), polled.size(), tellNews(links) ? -1 : 1) < 0) continue;
    for (std::size_t i = polled.size(); i-- > 1;) {
      if (polled[i].revents == 0 || serve(polled[i].fd, links[polled[i].fd], shared)) continue;
      ::close(polled[i].fd);
      links.erase(polled[i].fd);
      polled.erase(polled.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (polled.front().revents != 0) {
      const int fd = ::accept(listener, nullptr, nullptr);
      if (fd < 0) continue;
      // An event soon after a reply would wait for the reply's acknowledgement, which takes 40 ms.
      const int on = 1;
      ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      polled.push_back({fd, POLLIN, 0});
    }
  }
}

}  // namespace

Peer::Peer(std::string address) : address_(std::move(address)) {
  void* memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) fail("no memory");
  shared_ = new (memory) Shared;
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in endpoint = endpointOf(address_);
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0 ||
      ::listen(listener, 128) != 0) {
    fail("can't listen on " + address_);
  }
  process_ = ::fork();
  if (process_ < 0) fail("no process");
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    run(listener, *shared_);
  }
  ::close(listener);
}

Peer::~Peer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

int connectBare(const std::string& address) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in endpoint = endpointOf(address);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0)
    fail("can't connect to " + address);
  return fd;
}

std::size_t pingPong(int fd, const std::string& frame, std::string& reply) {
  if (::send(fd, frame.data(), frame.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(frame.size()))
    fail("can't send");
  reply.resize(4096);
  std::size_t length = 0;
  do {
    const ssize_t got = ::recv(fd, reply.data() + length, reply.size() - length, 0);
    if (got <= 0) fail("the peer has gone");
    length += static_cast<std::size_t>(got);
  } while (reply[length - 1] != '\r');
  return length;
}

}  // namespace zivra::bench
