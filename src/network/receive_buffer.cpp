#include "network/receive_buffer.h"

#include <cstring>

namespace zivra::internal {

namespace {

constexpr std::size_t firstSize = 1536;
// What comes without marks comes in bulk, and may stand in one piece only if one read takes it.
constexpr std::size_t firstSizeWithoutMark = 64 * 1024;
constexpr std::size_t keptSize = 64 * 1024;  // one big frame must not hold its memory for ever

}  // namespace

ReceiveBuffer::ReceiveBuffer(std::optional<char> mark)
    : mark_(mark), data_(mark ? firstSize : firstSizeWithoutMark) {}

ReceiveBuffer::Space ReceiveBuffer::prepare() {
  if (begin_ == end_) {
    begin_ = scanned_ = end_ = 0;
    if (data_.size() > keptSize) std::vector<char>(firstSize).swap(data_);
  }
  if (data_.size() - end_ < data_.size() / 2) {
    std::memmove(data_.data(), data_.data() + begin_, end_ - begin_);
    scanned_ -= begin_;
    end_ -= begin_;
    begin_ = 0;
    if (data_.size() - end_ < data_.size() / 2) data_.resize(data_.size() * 2);
  }
  return {data_.data() + end_, data_.size() - end_};
}

std::optional<std::string_view> ReceiveBuffer::next() noexcept {
  if (scanned_ == end_) return std::nullopt;
  const char* const first = data_.data() + begin_;
  if (!mark_) {
    const std::string_view all(first, end_ - begin_);
    begin_ = scanned_ = end_;
    return all;
  }
  const void* const found = std::memchr(data_.data() + scanned_, *mark_, end_ - scanned_);
  if (found == nullptr) {
    scanned_ = end_;
    return std::nullopt;
  }
  const std::string_view frame(first, static_cast<std::size_t>(static_cast<const char*>(found) - first));
  begin_ = scanned_ = begin_ + frame.size() + 1;
  return frame;
}

void ReceiveBuffer::clear() { begin_ = scanned_ = end_ = 0; }

}  // namespace zivra::internal
