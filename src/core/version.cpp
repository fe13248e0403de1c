#include <charconv>
#include <cstdint>
#include <fmt/format.h>
#include <string>
#include <string_view>

#include <zivra/version.h>

// The build gives these; a build by hand goes without.
#ifndef ZIVRA_BUILD_TAG
#define ZIVRA_BUILD_TAG ""
#endif
#ifndef ZIVRA_BUILD_DATE
#define ZIVRA_BUILD_DATE ""
#endif
#ifndef ZIVRA_BUILD_HOST
#define ZIVRA_BUILD_HOST ""
#endif

namespace zivra {
namespace {

// Thousands of the next component; 64 bits hold any four ints.
std::int64_t rank(const VersionRecord& version) noexcept {
  return ((std::int64_t{version.major} * 1000 + version.minor) * 1000 + version.patch) * 1000 + version.build;
}

// Takes a number off the front, blanks and a sign before it included, as the C library's "%d" does.
bool takeNumber(std::string_view& text, int& number) noexcept {
  const auto start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return false;
  text.remove_prefix(start);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

}  // namespace

bool isOlder(const VersionRecord& a, const VersionRecord& b) noexcept { return rank(a) < rank(b); }

std::string text(const VersionRecord& version) {
  const std::string numbers = fmt::format("{}.{}.{}", version.major, version.minor, version.patch);
  return version.tag.empty() ? numbers : numbers + "." + version.tag;
}

std::string textWithBuild(const VersionRecord& version) {
  return fmt::format("{}.{}", text(version), version.build);
}

VersionRecord parseVersion(const std::string& dotted) {
  VersionRecord version;
  std::string_view rest = dotted;
  for (int* number : {&version.major, &version.minor, &version.patch, &version.build}) {
    if (!takeNumber(rest, *number)) break;
    if (rest.empty() || rest.front() != '.') break;
    rest.remove_prefix(1);
  }
  return version;
}

// Neither record is ever destroyed: threads that outlive main may still log them.
const VersionRecord& libraryVersion() noexcept {
  static const VersionRecord& version =
      *new VersionRecord{ZIVRA_VERSION_MAJOR, ZIVRA_VERSION_MINOR, ZIVRA_VERSION_PATCH, 0,
                         ZIVRA_BUILD_TAG,     ZIVRA_BUILD_DATE,    ZIVRA_BUILD_HOST};
  return version;
}

const VersionRecord& minimumControllerVersion() noexcept {
  static const VersionRecord& version = *new VersionRecord(parseVersion("3.1.0"));
  return version;
}

}  // namespace zivra
