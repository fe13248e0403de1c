// Announcements of files.

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr std::uint64_t kLargestFile = 10u << 20;
constexpr int kOtherFunction = -277, kTooLarge = -283;

bool isDigest(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// A name that stays in the folder that it is meant for.
bool isPlainName(const std::string& name) {
  return !name.empty() && name.size() <= 255 && name != "." && name != ".." &&
         name.find_first_of(std::string("/\\\0", 3)) == std::string::npos;
}

Reply announceFile(World& w, const Json::Value& parameter) {
  const auto name = readText(member(parameter, "name"));
  const auto digest = readText(member(parameter, "md5"));
  const auto function = readText(member(parameter, "function"));
  const auto overwrite = readFlag(member(parameter, "overwrite"));
  const Json::Value& length = member(parameter, "len");
  if (!name || !isPlainName(*name) || !digest || !isDigest(*digest) || !function || !overwrite ||
      !length.isUInt64())
    return badParameter();
  if (*function != "import_project" && *function != "import_project_file") return refuse(kOtherFunction);
  if (length.asUInt64() == 0 || length.asUInt64() > kLargestFile) return refuse(kTooLarge);

  // Whatever was on its way before isn't waited for any more.
  w.incoming = IncomingFile{{*name, *function, *overwrite, {}}, *digest, length.asUInt64(), {}};
  return ok();
}

}  // namespace

void addFileHandlers(Handlers& h) { h.command("ix.sdk.transferInit", announceFile); }

}  // namespace zivra::sim
