#include "network/xservice/xservice.h"

#include <fmt/format.h>
#include <optional>
#include <utility>

#include <zivra/error.h>

#include "core/json.h"
#include "core/json_text.h"
#include "core/process_state.h"
#include "network/xservice/core.h"
#include "network/xservice/transfer.h"

namespace zivra {

using internal::appendJson;
using internal::appendText;
using internal::nextRequestId;

namespace {

std::error_code noError(int value = 0) { return {value, category()}; }

// No form throws. What can be thrown inside is std::bad_alloc, and texts too long for any memory.
template <class Call>
void guarded(std::error_code& ec, Call&& call) noexcept {
  try {
    ec = call();
  } catch (...) {
    ec = std::make_error_code(std::errc::not_enough_memory);
  }
}

void appendId(std::string& out, std::uint64_t id) {
  const fmt::format_int digits(id);
  out += "\"id\":";
  out.append(digits.data(), digits.size());
}

// One frame, written straight as text. Members stand in alphabetical order: c, g, id, s, w.
template <class AppendBody>
std::string requestText(char letter, std::uint64_t id, AppendBody&& appendBody) {
  std::string out;
  out.reserve(96);
  out += '{';
  if (letter > 'i') {
    appendId(out, id);
    out += ',';
  }
  out += '"';
  out += letter;
  out += "\":";
  appendBody(out);
  if (letter < 'i') {
    out += ',';
    appendId(out, id);
  }
  out += "}\r";
  return out;
}

template <class AppendPayload>
std::string requestText(char letter, std::uint64_t id, std::string_view key, AppendPayload&& appendPayload) {
  return requestText(letter, id, [&](std::string& out) {
    out += '{';
    appendText(out, key);
    out += ':';
    appendPayload(out);
    out += '}';
  });
}

auto json(const Json::Value& value) {
  return [&value](std::string& out) { appendJson(out, value); };
}

auto text(std::string_view value) {
  return [value](std::string& out) { out += value; };
}

// What a reply holds under the form's letter, and there under the key; null if it can't be understood. Not
// const, so that the caller can take the value out of its reply instead of copying it.
Json::Value* bodyOf(Json::Value& reply, std::string_view letter) noexcept {
  auto& body = const_cast<Json::Value&>(internal::member(reply, letter));
  return body.isObject() ? &body : nullptr;
}

Json::Value* valueOf(Json::Value& reply, std::string_view letter, std::string_view key) noexcept {
  Json::Value* const body = bodyOf(reply, letter);
  if (body == nullptr || !internal::hasMember(*body, key)) return nullptr;
  return const_cast<Json::Value*>(&internal::member(*body, key));
}

}  // namespace

XService::XService() : XService(internal::LinkLimits{}) {}

XService::XService(const internal::LinkLimits& limits)
    : transfer(std::make_shared<XTransfer>(limits)), core_(std::make_shared<Core>(limits)) {}

XService::~XService() {
  stop();
  // On the network thread the client is still there, but its user isn't.
  core_->connectionHandler.set({});
  core_->motionHandler.set({});
  core_->pushHandler.set({});
  core_->replies.clearCallbacks();
}

void XService::setEndpoint(const std::string& ip, std::uint32_t port) {
  transfer->setEndpoint(ip, XTransfer::port);
  const std::lock_guard lock(core_->settingsMutex);
  core_->ip = ip;
  core_->port = port;
}

std::string XService::address() const {
  const std::lock_guard lock(core_->settingsMutex);
  return core_->ip;
}

void XService::start(std::error_code& ec) noexcept {
  guarded(ec, [&] {
    if (connected()) return noError();
    const std::error_code failure = core_->start();
    if (failure) return failure;
    std::error_code ignored;
    transfer->start(ignored);
    if (ignored)
      internal::logBoth(core_->currentLogger().get(), internal::LogLevel::info,
                        "uid: {} | FileTransfer connect failed ({})", internal::uid(), ignored);
    return noError();
  });
}

void XService::stop() noexcept {
  core_->client.stop();
  transfer->stop();
}

bool XService::connected() const noexcept { return static_cast<bool>(core_->client.connection()); }

bool XService::onNetworkThread() const noexcept { return core_->client.onNetworkThread(); }

void XService::setConnectionHandler(std::function<void(bool)> handler) {
  core_->connectionHandler.set(std::move(handler));
}

void XService::setMotionHandler(Handler handler) { core_->motionHandler.set(std::move(handler)); }

void XService::setPushHandler(Handler handler) { core_->pushHandler.set(std::move(handler)); }

std::shared_ptr<internal::Logger> XService::logger() const noexcept { return core_->currentLogger(); }

void XService::setLogger(std::shared_ptr<internal::Logger> logger) noexcept {
  const std::lock_guard lock(core_->settingsMutex);
  core_->logger.swap(logger);
}

void XService::sendFrame(const Json::Value& message, std::error_code& ec) noexcept {
  guarded(ec, [&] {
    std::string frame;
    appendJson(frame, message);
    frame += '\r';
    return core_->send(std::move(frame));
  });
}

void XService::exchange(Json::Value& request, Json::Value& reply, std::error_code& ec,
                        std::int64_t timeoutNs) noexcept {
  guarded(ec, [&] {
    if (onNetworkThread()) return make_error_code(Code::timeout);
    if (!request.isObject() && !request.isNull()) return make_error_code(Code::argumentInvalid);
    const std::uint64_t id = nextRequestId();
    request["id"] = static_cast<Json::UInt64>(id);
    std::string frame;
    appendJson(frame, request);
    frame += '\r';
    return core_->exchange(std::move(frame), id, reply, timeoutNs);
  });
}

// The waiting forms: `take` gets the reply's value and gives the code.
template <class AppendPayload, class Take>
void XService::ask(char letter, const std::string& key, AppendPayload&& appendPayload, std::int64_t timeoutNs,
                   std::error_code& ec, Take&& take) noexcept {
  guarded(ec, [&] {
    if (onNetworkThread()) return make_error_code(Code::timeout);
    const std::uint64_t id = nextRequestId();
    Json::Value reply;
    const std::error_code failure =
        core_->exchange(requestText(letter, id, key, appendPayload), id, reply, timeoutNs);
    if (failure) return failure;
    Json::Value* const value = valueOf(reply, {&letter, 1}, key);
    return value != nullptr ? take(*value) : make_error_code(Code::responseUnresolved);
  });
}

void XService::get(const std::string& key, Json::Value& value, std::error_code& ec) noexcept {
  get(key, value, value, ec);
}

void XService::get(const std::string& key, const Json::Value& parameter, Json::Value& value,
                   std::error_code& ec) noexcept {
  ask('g', key, json(parameter), defaultTimeoutNs, ec, [&](Json::Value& found) {
    value.swap(found);
    return noError();
  });
}

void XService::getMany(const std::vector<std::string>& keys, const std::vector<Json::Value>& parameters,
                       Json::Value& values, std::error_code& ec) noexcept {
  guarded(ec, [&] {
    if (keys.size() != parameters.size()) return make_error_code(Code::argumentInvalid);
    if (onNetworkThread()) return make_error_code(Code::timeout);
    Json::Value body(Json::objectValue);
    for (std::size_t i = 0; i < keys.size(); ++i) body[keys[i]] = parameters[i];
    const std::uint64_t id = nextRequestId();
    std::string frame;
    if (keys.empty()) {
      frame += '{';
      appendId(frame, id);
      frame += "}\r";
    } else {
      frame = requestText('g', id, json(body));
    }
    Json::Value reply;
    const std::error_code failure = core_->exchange(std::move(frame), id, reply, defaultTimeoutNs);
    if (failure) return failure;
    Json::Value* const found = bodyOf(reply, "g");
    if (found == nullptr) return make_error_code(Code::responseUnresolved);
    values.swap(*found);
    return noError();
  });
}

void XService::set(const std::string& key, const Json::Value& value, std::error_code& ec) noexcept {
  ask('s', key, json(value), defaultTimeoutNs, ec, [](const Json::Value& found) {
    const std::optional<int> code = internal::asInt(found);
    return code ? noError(*code) : make_error_code(Code::responseUnresolved);
  });
}

int XService::setValue(const std::string& key, const Json::Value& value, std::error_code& ec) noexcept {
  int result = 0;
  ask('s', key, json(value), defaultTimeoutNs, ec, [&](const Json::Value& found) {
    const std::optional<int> code = internal::asInt(found);
    result = code.value_or(0);
    return code ? noError() : make_error_code(Code::responseUnresolved);
  });
  return result;
}

void XService::command(const std::string& key, const Json::Value& parameters, Json::Value& value,
                       std::error_code& ec, std::int64_t timeoutNs) noexcept {
  ask('c', key, json(parameters), timeoutNs, ec, [&](Json::Value& found) {
    value.swap(found);
    return noError();
  });
}

void XService::commandAsync(const std::string& key, const Json::Value& parameters, Handler callback,
                            std::error_code& ec) noexcept {
  std::string parametersText;
  guarded(ec, [&] {
    appendJson(parametersText, parameters);
    return noError();
  });
  if (!ec) commandTextAsync(key, parametersText, std::move(callback), ec);
}

void XService::commandTextAsync(const std::string& key, std::string_view parameters, Handler callback,
                                std::error_code& ec) noexcept {
  guarded(ec, [&] {
    const std::uint64_t id = nextRequestId();
    std::string frame = requestText('c', id, key, text(parameters));
    if (callback) core_->replies.putCallback(id, std::move(callback));
    std::error_code failure = core_->send(std::move(frame));
    if (failure) core_->replies.takeCallback(id);
    return failure;
  });
}

void XService::commandWithId(std::string_view body, const std::string& id, std::error_code& ec,
                             Gate gate) noexcept {
  guarded(ec, [&] {
    std::string frame;
    frame.reserve(body.size() + id.size() + 16);
    frame += "{\"c\":";
    frame += body;
    frame += ",\"id\":";
    appendText(frame, id);
    frame += "}\r";
    return core_->send(std::move(frame), gate);
  });
}

void XService::watch(const std::string& key, bool on, std::error_code& ec) noexcept {
  guarded(ec,
          [&] { return core_->send(requestText('w', nextRequestId(), key, text(on ? "true" : "false"))); });
}

}  // namespace zivra
