#include "support/scripted_controller.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <json/json.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "support/waiting.h"

namespace zivra::test {

namespace {

constexpr std::uint16_t commandPort = 6666;

std::string jsonText(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

// jsoncpp reads numbers by the process's locale, which a test may have changed. No number is looked at here,
// so they do without their points, and without exponents, which would then be too large.
std::string withoutPoints(const std::string& text) {
  std::string out;
  bool inText = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"' && (i == 0 || text[i - 1] != '\\')) inText = !inText;
    const bool behindDigit = i > 0 && std::isdigit(static_cast<unsigned char>(text[i - 1])) != 0;
    const bool exponent =
        (text[i] == 'e' && behindDigit) || text[i] == '+' || (text[i] == '-' && i > 0 && text[i - 1] == 'e');
    if (inText || (text[i] != '.' && !exponent)) out += text[i];
  }
  return out;
}

Request decode(const std::string& frame) {
  Request request;
  request.text = frame;
  const std::string readable = withoutPoints(frame);
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  if (!reader->parse(readable.data(), readable.data() + readable.size(), &value, nullptr) ||
      !value.isObject())
    return request;
  request.id = jsonText(value["id"]);
  for (const char form : {'g', 's', 'c', 'w'}) {
    const Json::Value& body = value[std::string(1, form)];
    if (!body.isObject()) continue;
    request.form = form;
    if (!body.empty()) request.key = body.begin().name();
    break;
  }
  return request;
}

const char* refusalOf(char form) {
  if (form == 'g') return "-272";
  return form == 's' ? "-288" : "-259";
}

}  // namespace

std::string ControllerIdentity::json() const {
  return fmt::format(
      R"({{"id":"{}","mac":"02:00:00:00:00:01","version":"{}","type":"{}","joint_num":{},"work_type":"{}"}})",
      id, version, type, axes, workType);
}

std::string Request::reply(const std::string& value) const {
  return replyBody(fmt::format(R"({{"{}":{}}})", key, value));
}

std::string Request::replyBody(const std::string& body) const {
  return fmt::format(R"({{"{}":{},"id":{}}})", form, body, id);
}

ScriptedController::ScriptedController(const ControllerIdentity& identity, int network) : address_(network) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error("no pipe");
  wakeRead_ = Descriptor(ends[0]);
  wakeWrite_ = Descriptor(ends[1]);
  answer("sys.info", identity.json());
  answer("eci.port", R"({"rt":1337,"broadcast":1338})");
  answer("eci.ip", "0");
  answer("sys.state", R"("idle")");
  answer("sys.power", R"("on")");
  answer("move.reset", "0");
  answer("move.continue", "0");
  answer("move.pause", "0");
  answer("move.last_error_with_setting", "0");
  listener_ = listenOn(address(), commandPort);
  thread_ = std::thread([this] { run(); });
}

ScriptedController::~ScriptedController() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  wake();
  thread_.join();
}

void ScriptedController::wake() {
  const char byte = 0;
  [[maybe_unused]] const auto written = ::write(wakeWrite_.get(), &byte, 1);
}

void ScriptedController::answer(const std::string& key, const std::string& value) {
  answerBy(key, [value](const Request& request) { return std::vector{request.reply(value)}; });
}

void ScriptedController::answerBy(const std::string& key, Answer answer) {
  const std::lock_guard lock(mutex_);
  answers_[key] = std::move(answer);
}

void ScriptedController::dropAt(const std::string& key) {
  answerBy(key, [this](const Request&) {
    drop();
    return std::vector<std::string>();
  });
}

std::vector<Request> ScriptedController::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::vector<std::string> ScriptedController::frames() const {
  std::vector<std::string> frames;
  for (const Request& request : requests()) frames.push_back(request.text);
  return frames;
}

std::size_t ScriptedController::count(const std::string& key) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(requests_.begin(), requests_.end(), [&](const Request& r) { return r.key == key; }));
}

void ScriptedController::forgetRequests() {
  const std::lock_guard lock(mutex_);
  requests_.clear();
}

bool ScriptedController::waitForRequest(const std::string& key, std::size_t times) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, longestWait, [&] {
    const auto came =
        std::count_if(requests_.begin(), requests_.end(), [&](const Request& r) { return r.key == key; });
    return static_cast<std::size_t>(came) >= times;
  });
}

void ScriptedController::listen() {
  const std::lock_guard lock(mutex_);
  if (!listener_) listener_ = listenOn(address(), commandPort);
  wake();
}

void ScriptedController::stopListening() {
  std::unique_lock lock(mutex_);
  if (!listener_) return;
  ::shutdown(listener_.get(), SHUT_RDWR);  // refuses from now on; closed by the thread that polls it
  if (std::this_thread::get_id() == thread_.get_id()) {
    listener_.reset();
    return;
  }
  listenerEnds_ = true;
  wake();
  changed_.wait(lock, [&] { return !listenerEnds_; });
}

void ScriptedController::drop() { endLinks(true); }
void ScriptedController::close() { endLinks(false); }

void ScriptedController::endLinks(bool reset) {
  const std::lock_guard lock(mutex_);
  for (Link& link : links_) {
    if (reset) {
      const linger hard{1, 0};
      ::setsockopt(link.socket.get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
      link.out.clear();
    }
    link.closing = true;
  }
  wake();
}

bool ScriptedController::waitForLinks(std::size_t count) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, longestWait, [&] { return links_.size() == count; });
}

void ScriptedController::stopReading(bool on) {
  const std::lock_guard lock(mutex_);
  reading_ = !on;
  wake();
}

void ScriptedController::slice(std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  slice_ = bytes;
}

void ScriptedController::send(std::string bytes) {
  std::unique_lock lock(mutex_);
  // A client may know of its link before it is taken here.
  changed_.wait_for(lock, longestWait, [&] {
    return std::any_of(links_.begin(), links_.end(), [](const Link& link) { return !link.closing; });
  });
  for (Link& link : links_) link.out += bytes;
  wake();
}

void ScriptedController::run() {
  std::unique_lock lock(mutex_);
  while (!ends_) poll(lock);
}

void ScriptedController::poll(std::unique_lock<std::mutex>& lock) {
  std::vector<pollfd> waits{{wakeRead_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
  for (const Link& link : links_) {
    const short wanted = static_cast<short>((reading_ ? POLLIN : 0) | (link.out.empty() ? 0 : POLLOUT));
    waits.push_back({link.socket.get(), wanted, 0});
  }
  lock.unlock();
  ::poll(waits.data(), waits.size(), -1);
  lock.lock();
  if (std::exchange(listenerEnds_, false)) listener_.reset();
  char drained[64];
  while (::read(wakeRead_.get(), drained, sizeof drained) > 0) {
  }
  // Links are only removed here and only added behind the ones polled.
  const std::size_t polled = waits.size() - 2;
  if ((waits[1].revents & POLLIN) != 0) accept();
  for (std::size_t i = 0; i < polled; ++i) {
    if ((waits[i + 2].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && !links_[i].closing)
      receive(links_[i], lock);
  }
  for (Link& link : links_) transmit(link);
  std::erase_if(links_, [](const Link& link) { return link.closing && link.out.empty(); });
  changed_.notify_all();
}

void ScriptedController::accept() {
  Descriptor socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!socket) return;
  const int on = 1;
  ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  links_.push_back({++linksSoFar_, std::move(socket), {}, {}});
}

void ScriptedController::receive(Link& link, std::unique_lock<std::mutex>& lock) {
  char buffer[65536];
  const auto got = ::recv(link.socket.get(), buffer, sizeof buffer, 0);
  if (got <= 0) {
    if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
      link.closing = true;
      link.out.clear();
    }
    return;
  }
  link.in.append(buffer, static_cast<std::size_t>(got));
  for (std::size_t end; (end = link.in.find('\r')) != std::string::npos;) {
    Request request = decode(link.in.substr(0, end));
    request.link = link.number;
    link.in.erase(0, end + 1);
    requests_.push_back(request);
    changed_.notify_all();
    std::string bytes;
    for (const std::string& frame : answersTo(request, lock)) bytes += frame + '\r';
    if (!link.closing) link.out += bytes;
  }
}

std::vector<std::string> ScriptedController::answersTo(const Request& request,
                                                       std::unique_lock<std::mutex>& lock) {
  if (request.form == 0) return {};
  const auto found = answers_.find(request.key);
  if (found == answers_.end()) return {request.reply(refusalOf(request.form))};
  const Answer answer = found->second;
  lock.unlock();
  auto frames = answer(request);
  lock.lock();
  return frames;
}

void ScriptedController::transmit(Link& link) {
  while (!link.out.empty()) {
    const std::size_t piece = slice_ == 0 ? link.out.size() : std::min(slice_, link.out.size());
    const auto sent = ::send(link.socket.get(), link.out.data(), piece, MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EAGAIN || errno == EINTR) return;
      link.closing = true;
      link.out.clear();
      return;
    }
    link.out.erase(0, static_cast<std::size_t>(sent));
  }
}

}  // namespace zivra::test
