#pragma once

#include <string>

#include <zivra/export.h>

#define ZIVRA_VERSION_MAJOR 0
#define ZIVRA_VERSION_MINOR 7
#define ZIVRA_VERSION_PATCH 1

namespace zivra {

/// A version of the library or of a controller.
struct ZIVRA_API VersionRecord {
  int major = 0;     ///< first number
  int minor = 0;     ///< second number
  int patch = 0;     ///< third number
  int build = 0;     ///< number of the build
  std::string tag;   ///< short label of the build, may be empty
  std::string date;  ///< date and time of the build
  std::string host;  ///< machine of the build
};

/// True if `a` is the older one; numbers decide, labels don't.
ZIVRA_API bool isOlder(const VersionRecord& a, const VersionRecord& b) noexcept;
/// "major.minor.patch", and "." and the tag if there is one.
ZIVRA_API std::string text(const VersionRecord& version);
/// `text`, "." and the build number.
ZIVRA_API std::string textWithBuild(const VersionRecord& version);
/// Numbers of a dotted text; what is missing or no number stays 0.
ZIVRA_API VersionRecord parseVersion(const std::string& dotted);

/// The library's own record.
ZIVRA_API const VersionRecord& libraryVersion() noexcept;
/// The oldest controller that the library talks to.
ZIVRA_API const VersionRecord& minimumControllerVersion() noexcept;

}  // namespace zivra
