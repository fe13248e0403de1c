// What one process has only once. Nothing in here is ever destroyed, so that threads that outlive main find
// it whole.
#pragma once

#include <cstdint>
#include <string>

namespace zivra::internal {

// Ids of requests, shared by all links: 1, 2, 3, ... Never reset. Any thread.
std::uint64_t nextRequestId() noexcept;

// Numbers of command ids, shared by all robots: 0, 1, 2, ... Any thread.
std::uint32_t nextCommandNumber() noexcept;

// The text that stands first in log lines: the robot connected last. Any thread gets a copy.
std::string uid();
void setUid(const std::string& uid);
// The form that a robot id takes in log lines.
std::string uidOf(const std::string& robotId);

enum class Language : int { chinese = 0, english = 1 };

// Chinese until the first robot object is made. Any thread.
Language language() noexcept;
void setLanguage(Language language) noexcept;
// Switches the process to the user's locale and takes the language from its name; a missing locale means
// English. Any thread: setlocale's result is copied under a process-wide mutex.
void chooseLanguage() noexcept;
Language languageOfLocale(const char* name) noexcept;

}  // namespace zivra::internal
