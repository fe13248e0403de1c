#include "core/process_state.h"

#include <array>
#include <atomic>
#include <clocale>
#include <cstddef>
#include <mutex>
#include <string_view>

namespace zivra::internal {
namespace {

constinit std::atomic<std::uint64_t> lastRequestId{0};
constinit std::atomic<std::uint32_t> commandNumbers{0};
constinit std::atomic<Language> currentLanguage{Language::chinese};

struct Uid {
  std::mutex mutex;
  std::string text = "default_uid";
};

Uid& theUid() {
  static Uid& uid = *new Uid;
  return uid;
}

std::mutex& localeMutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

}  // namespace

std::uint64_t nextRequestId() noexcept { return lastRequestId.fetch_add(1, std::memory_order_relaxed) + 1; }

std::uint32_t nextCommandNumber() noexcept { return commandNumbers.fetch_add(1, std::memory_order_relaxed); }

std::string uid() {
  Uid& uid = theUid();
  const std::lock_guard lock(uid.mutex);
  return uid.text;
}

void setUid(const std::string& text) {
  Uid& uid = theUid();
  const std::lock_guard lock(uid.mutex);
  uid.text = text;
}

std::string uidOf(const std::string& robotId) {
  constexpr std::size_t kHead = 8;
  constexpr std::size_t kTail = 4;
  if (robotId.size() < kHead + kTail) return robotId;
  return robotId.substr(0, kHead) + "-" + robotId.substr(robotId.size() - kTail);
}

Language language() noexcept { return currentLanguage.load(std::memory_order_relaxed); }

void setLanguage(Language language) noexcept { currentLanguage.store(language, std::memory_order_relaxed); }

void chooseLanguage() noexcept {
  const std::lock_guard lock(localeMutex());
  const char* name = std::setlocale(LC_ALL, "");
  if (name == nullptr) return setLanguage(Language::english);
  // Any other call of setlocale in the process may overwrite the name, so it is looked at in a copy. A name
  // longer than this lists all categories, the character set's first.
  std::array<char, 1024> copy{};
  std::string_view(name).copy(copy.data(), copy.size() - 1);
  setLanguage(languageOfLocale(copy.data()));
}

Language languageOfLocale(const char* name) noexcept {
  const std::string_view text = name == nullptr ? "" : name;
  for (const std::string_view mark : {"936", "CN", "zh"}) {
    if (text.find(mark) != std::string_view::npos) return Language::chinese;
  }
  return Language::english;
}

}  // namespace zivra::internal
