#pragma once

#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// Messages between the two layers: native byte order, no tags; both sides know the types from one table.
namespace zivra::clr::abi {

/// Faults of the boundary itself, beyond those of the layer (Fault). At 100 and above the arguments weren't
/// taken.
constexpr std::int32_t kDisposed = 100, kForeignHandle = 101, kBadMessage = 102;

/// A fault of the boundary; the text is for the .NET exception.
class BoundaryFault : public std::exception {
 public:
  BoundaryFault(std::int32_t number, std::string text) : number_(number), text_(std::move(text)) {}
  std::int32_t number() const noexcept { return number_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::int32_t number_;
  std::string text_;
};

class Writer {
 public:
  Writer() = default;
  /// Writes into the memory of `old`, whose content goes.
  explicit Writer(std::vector<std::uint8_t> old) noexcept : bytes_(std::move(old)) { bytes_.clear(); }
  void clear() noexcept { bytes_.clear(); }
  const std::vector<std::uint8_t>& bytes() const noexcept { return bytes_; }
  std::vector<std::uint8_t> takeBytes() noexcept { return std::move(bytes_); }
  void block(const void* data, std::size_t size) {
    if (size == 0) return;
    const std::size_t end = bytes_.size();
    bytes_.resize(end + size);
    std::memcpy(bytes_.data() + end, data, size);
  }
  template <class Number>
  void number(Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    block(&value, sizeof value);
  }
  void count(std::size_t value) {
    if (value > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) throw std::bad_alloc();
    number(static_cast<std::int32_t>(value));
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

/// Reads within its bounds; whatever doesn't fit is kBadMessage.
class Reader {
 public:
  Reader(const void* data, std::size_t size)
      : next_(static_cast<const std::uint8_t*>(data)), left_(data == nullptr ? 0 : size) {}

  void block(void* to, std::size_t size) {
    need(size);
    if (size == 0) return;
    std::memcpy(to, next_, size);
    next_ += size;
    left_ -= size;
  }
  template <class Number>
  Number number() {
    Number value{};
    block(&value, sizeof value);
    return value;
  }
  /// How many elements follow, each of `least` bytes or more: no message asks for more room than it has
  /// bytes.
  std::size_t count(std::size_t least) {
    const auto value = number<std::int32_t>();
    if (value < 0) bad();
    need(static_cast<std::size_t>(value) * least);
    return static_cast<std::size_t>(value);
  }
  void end() const {
    if (left_ != 0) bad();
  }
  [[noreturn]] static void bad() {
    throw BoundaryFault(kBadMessage, "a message between zivra.clr and its native library is damaged");
  }

 private:
  void need(std::size_t size) const {
    if (size > left_) bad();
  }

  const std::uint8_t* next_;
  std::size_t left_;
};

}  // namespace zivra::clr::abi
