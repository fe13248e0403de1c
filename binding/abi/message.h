#pragma once

#include <algorithm>
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

/// Writes into the memory that it is given, and into its own once that is too small.
class Writer {
 public:
  Writer() = default;
  Writer(void* memory, std::size_t size) noexcept : data_(static_cast<std::uint8_t*>(memory)), room_(size) {}
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  const std::uint8_t* data() const noexcept { return data_; }
  std::size_t size() const noexcept { return size_; }
  void clear() noexcept { size_ = 0; }
  std::vector<std::uint8_t> takeBytes() {
    if (data_ != own_.data()) own_.assign(data_, data_ + size_);
    own_.resize(size_);
    data_ = nullptr;
    size_ = room_ = 0;
    return std::move(own_);
  }
  void block(const void* from, std::size_t size) {
    if (size != 0) std::memcpy(next(size), from, size);
  }
  template <class Number>
  void number(Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    std::memcpy(next(sizeof value), &value, sizeof value);
  }
  void count(std::size_t value) {
    if (value > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) throw std::bad_alloc();
    number(static_cast<std::int32_t>(value));
  }
  /// Leaves room for a number that comes last: until then nothing is written there.
  template <class Number>
  std::size_t placeFor() {
    next(sizeof(Number));
    return size_ - sizeof(Number);
  }
  template <class Number>
  void numberAt(std::size_t place, Number value) noexcept {
    std::memcpy(data_ + place, &value, sizeof value);
  }

 private:
  std::uint8_t* next(std::size_t size) {
    if (size > room_ - size_) grow(size);
    std::uint8_t* const place = data_ + size_;
    size_ += size;
    return place;
  }
  void grow(std::size_t size) {
    std::vector<std::uint8_t> larger(std::max(size_ + size, 2 * room_));
    if (size_ != 0) std::memcpy(larger.data(), data_, size_);
    own_.swap(larger);
    data_ = own_.data();
    room_ = own_.size();
  }

  std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0, room_ = 0;
  std::vector<std::uint8_t> own_;
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
  /// So many bytes as a text.
  std::string text(std::int32_t size) {
    if (size < 0) bad();
    const auto length = static_cast<std::size_t>(size);
    need(length);
    const auto* const from = reinterpret_cast<const char*>(next_);
    next_ += length;
    left_ -= length;
    return length == 0 ? std::string() : std::string(from, length);
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
