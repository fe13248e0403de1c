#include "robot/operation.h"

#include "core/wire_forms.h"

namespace zivra::internal {

void Reply::code(std::error_code otherwise) noexcept {
  if (failed()) return;
  const auto code = asInt(value_);
  ec_ = code ? std::error_code(*code, category()) : otherwise;
}

Reply& Reply::codeOrNull() noexcept {
  if (!value_.isNull()) code();
  return *this;
}

Reply& Reply::codeOrData() noexcept {
  if (isCode()) code();
  return *this;
}

Reply& Reply::tellAs(int code, int as) noexcept {
  if (ec_ == std::error_code(code, category())) ec_ = {as, category()};
  return *this;
}

std::string Reply::judge() noexcept {
  if (failed()) return {};
  if (!value_.isObject()) {
    code();
    return {};
  }
  const Json::Value& error = member(value_, "error");
  if (!error.isNull()) Reply(ec_, error).code();
  const Json::Value& data = member(value_, "data");
  return textOr(data.isObject() ? member(data, "msg") : data);
}

std::vector<double> Reply::numbers() noexcept {
  std::vector<double> read;
  if (!failed() && readVector(value_, read) != 0) fail(Code::responseUnresolved);
  return read;
}

bool Reply::numbers(double* out, std::size_t n, Code tooShort) noexcept {
  if (failed()) return false;
  if (!value_.isArray() || value_.size() < n) {
    fail(tooShort);
  } else if (readArray(value_, out, n) != 0) {
    fail(Code::responseUnresolved);
  }
  return !failed();
}

std::array<double, 6> Reply::pose() noexcept {
  std::array<double, 6> pose{};
  if (failed()) return pose;
  if (readArray(member(value_, "trans"), pose.data(), 3) != 0 ||
      readArray(member(value_, "rot"), pose.data() + 3, 3) != 0) {
    fail(Code::responseUnresolved);
    return {};
  }
  return pose;
}

std::string Reply::text() noexcept {
  if (failed()) return {};
  auto text = asText(value_);
  if (!text) fail(Code::responseUnresolved);
  return std::move(text).value_or(std::string());
}

std::vector<std::string> Reply::texts() noexcept {
  if (failed()) return {};
  std::vector<std::string> texts;
  if (value_.isArray()) {
    for (const Json::Value& element : value_) {
      auto text = asText(element);
      if (!text) break;
      texts.push_back(std::move(*text));
    }
  }
  if (!value_.isArray() || texts.size() != value_.size()) {
    fail(Code::responseUnresolved);
    return {};
  }
  return texts;
}

Reply Operation::get(const char* key, const Json::Value& parameter) noexcept {
  Json::Value value;
  service_.get(key, parameter, value, ec_);
  return {ec_, std::move(value)};
}

Reply Operation::getMany(const std::vector<std::string>& keys,
                         const std::vector<Json::Value>& parameters) noexcept {
  Json::Value values;
  service_.getMany(keys, parameters, values, ec_);
  return {ec_, std::move(values)};
}

Reply Operation::command(const char* key, const Json::Value& parameters, std::int64_t timeoutNs) noexcept {
  Json::Value value;
  service_.command(key, parameters, value, ec_, timeoutNs);
  return {ec_, std::move(value)};
}

void Operation::set(const char* key, const Json::Value& value) noexcept { service_.set(key, value, ec_); }

std::string Operation::line(fmt::string_view format, fmt::format_args args) noexcept {
  return "uid: " + uid() + " | " + vformatLine(format, args);
}

void Operation::both(LogLevel level, fmt::string_view format, fmt::format_args args) noexcept {
  const std::string text = line(format, args);
  globalLogger().write(level, text);
  service_.logger()->write(level, text);
}

}  // namespace zivra::internal
