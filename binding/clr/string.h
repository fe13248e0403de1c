#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace zivra::clr {

/// A managed text: UTF-8, or null. Null and "" are two different texts.
class String {
 public:
  String() = default;
  String(std::nullptr_t) {}   // NOLINT: null is a text
  String(const char* text) {  // NOLINT: a literal is a text
    if (text != nullptr) text_.emplace(text);
  }
  String(std::string text) : text_(std::move(text)) {}  // NOLINT: a text is a text

  bool isNull() const noexcept { return !text_.has_value(); }
  /// Empty for null.
  const std::string& text() const noexcept {
    static const std::string none;
    return text_ ? *text_ : none;
  }

  friend bool operator==(const String&, const String&) = default;

 private:
  std::optional<std::string> text_;
};

}  // namespace zivra::clr
