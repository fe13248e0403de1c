// A client of the simulated controller that knows nothing of the library: a socket and JSON. One thread each.
#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <json/json.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace zivra::sim::test {

using namespace std::chrono_literals;
constexpr auto kPatience = 10s;  // the deadline of what is bound to happen
constexpr auto kQuiet = 150ms;   // how long nothing must come where nothing may come

inline Json::Value json(const std::string& text) {
  Json::Value value;
  std::string errors;
  const Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors))
    throw std::runtime_error("no JSON: " + text);
  return value;
}

inline bool eventually(const std::function<bool()>& holds) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

class RawClient {
 public:
  explicit RawClient(const std::string& address, std::uint16_t port = 6666) {
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(port);
    ::inet_pton(AF_INET, address.c_str(), &where.sin_addr);
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(socket_, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0) {
      ::close(socket_);
      throw std::runtime_error("can't connect to " + address);
    }
  }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;
  ~RawClient() { ::close(socket_); }

  static bool canConnect(const std::string& address) {
    try {
      RawClient probe(address);
      return true;
    } catch (const std::runtime_error&) {
      return false;
    }
  }

  void sendBytes(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const auto count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return;  // a broken link shows where an answer is awaited
      sent += static_cast<std::size_t>(count);
    }
  }
  void sendFrame(const std::string& text) { sendBytes(text + '\r'); }

  // One piece as it comes from the system; empty: nothing within the limit, or the end of the link.
  std::string receiveBytes(std::chrono::milliseconds limit) {
    pollfd watched{socket_, POLLIN, 0};
    if (::poll(&watched, 1, static_cast<int>(limit.count())) <= 0) return {};
    char bytes[65536];
    const auto count = ::recv(socket_, bytes, sizeof bytes, 0);
    if (count <= 0) ended_ = true;
    return count > 0 ? std::string(bytes, static_cast<std::size_t>(count)) : std::string();
  }

  // The text of the next frame; nothing within the limit, or the end of the link: none.
  std::optional<std::string> receiveText(std::chrono::milliseconds limit = kPatience) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
      if (const auto end = buffer_.find('\r'); end != std::string::npos) {
        std::string text = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return text;
      }
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (ended_ || left < 0ms) return std::nullopt;
      buffer_ += receiveBytes(left);
    }
  }

  // The next reply (pushes are kept aside); null if none comes.
  Json::Value reply(std::chrono::milliseconds limit = kPatience) {
    while (const auto text = receiveText(limit)) {
      Json::Value message = json(*text);
      if (!message.isMember("n")) return message;
      pushes_.push_back(std::move(message));
    }
    return {};
  }

  // The next push, waiting for it; null if none comes.
  Json::Value push(std::chrono::milliseconds limit = kPatience) {
    while (pushes_.empty()) {
      const auto text = receiveText(limit);
      if (!text) return {};
      Json::Value message = json(*text);
      if (message.isMember("n")) pushes_.push_back(std::move(message));
    }
    Json::Value message = std::move(pushes_.front());
    pushes_.pop_front();
    return message;
  }

  // Sends one request with a fresh id and gives the value under its key.
  Json::Value request(char form, const std::string& key, const std::string& parameter = "null") {
    const std::string id = std::to_string(++id_), letter(1, form);
    sendFrame("{\"" + letter + "\":{\"" + key + "\":" + parameter + "},\"id\":" + id + "}");
    const Json::Value message = reply();
    EXPECT_EQ(message["id"].asString(), id) << message;
    return message[letter][key];
  }
  int command(const std::string& key, const std::string& parameter = "null") {
    return request('c', key, parameter).asInt();
  }
  void batch(const std::string& key, const std::string& body, const std::string& id) {
    sendFrame("{\"c\":{\"" + key + "\":" + body + "},\"id\":\"" + id + "\"}");
  }

  bool awaitEnd(std::chrono::milliseconds limit = kPatience) {
    while (!ended_ && receiveText(limit)) {
    }
    return ended_;
  }

 private:
  int socket_ = -1;
  std::uint64_t id_ = 0;
  bool ended_ = false;
  std::string buffer_;
  std::deque<Json::Value> pushes_;
};

// Power on and automatic mode: moves are allowed.
inline void makeReady(RawClient& client) {
  ASSERT_EQ(client.command("sys.power.on"), 0);
  ASSERT_EQ(client.command("sys.mode.switch", "\"auto\""), 0);
}

}  // namespace zivra::sim::test
