#include "upgrade/backup_stream.h"

#include <algorithm>
#include <sys/mman.h>

namespace zivra::internal {

ReceptionBuffer::ReceptionBuffer(std::size_t size) noexcept : size_(size) {
  void* const mapped =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped != MAP_FAILED) data_ = static_cast<char*>(mapped);
}

ReceptionBuffer::~ReceptionBuffer() {
  if (data_ != nullptr) ::munmap(data_, size_);
}

bool ReceptionBuffer::append(std::string_view bytes) noexcept {
  if (data_ == nullptr || bytes.size() > size_ - filled_) return false;
  std::copy(bytes.begin(), bytes.end(), data_ + filled_);
  filled_ += bytes.size();
  return true;
}

void ReceptionBuffer::clear() noexcept {
  if (filled_ != 0) ::madvise(data_, filled_, MADV_DONTNEED);
  filled_ = 0;
}

BackupStream::BackupStream(ReceptionBuffer& buffer) noexcept : buffer_(buffer) { buffer_.clear(); }

BackupStream::State BackupStream::take(std::string_view chunk) noexcept {
  if (!buffer_.append(chunk)) return State::broken;
  if (!head_) {
    const std::optional<FileHead> packet = packetHeadOf(buffer_.bytes());
    if (!packet) return State::incomplete;
    if (packet->type != filePacket) return State::otherPacket;
    // What can't become whole isn't waited for.
    if (packet->packetSize < leastFilePacket || packet->packetSize > buffer_.size()) return State::broken;
    head_ = fileHeadOf(buffer_.bytes());
    if (!head_) return State::incomplete;
    if (head_->dataStart > head_->packetSize) return State::broken;
  }
  return received() < head_->packetSize ? State::incomplete : State::complete;
}

std::optional<BackupStream::Share> BackupStream::share() const noexcept {
  if (!head_) return std::nullopt;
  const std::uint64_t end = std::clamp<std::uint64_t>(received(), head_->dataStart, head_->packetSize);
  return Share{end - head_->dataStart, head_->packetSize - head_->dataStart};
}

std::optional<std::string_view> BackupStream::file() const {
  if (!head_ || received() < head_->packetSize) return std::nullopt;
  const auto size = static_cast<std::size_t>(head_->packetSize) - head_->dataStart;
  const std::string_view file = buffer_.bytes().substr(head_->dataStart, size);
  if (Md5::of(file.data(), file.size()) != head_->md5) return std::nullopt;
  return file;
}

}  // namespace zivra::internal
