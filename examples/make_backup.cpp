// Fetches a backup from a controller, with a bar that shows how far it is. Touches neither the robot nor what
// it is doing: the upgrade and backup service has a connection of its own.
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

namespace {

const std::map<std::string, zivra::BackupItem>& itemNames() {
  static const std::map<std::string, zivra::BackupItem> names = {
      {"settings", zivra::BackupItem::customConfig},
      {"robot", zivra::BackupItem::robotConfig},
      {"robot-without-body", zivra::BackupItem::robotConfigWithoutBodyParams},
      {"log", zivra::BackupItem::controllerLog},
      {"system-log", zivra::BackupItem::systemLog},
      {"programs", zivra::BackupItem::rlProgram},
      {"former-programs", zivra::BackupItem::backupRlProgram},
      {"recorded-paths", zivra::BackupItem::sdkRecordPath},
  };
  return names;
}

struct Usage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

std::set<zivra::BackupItem> chosenItems(const std::vector<std::string>& words) {
  std::set<zivra::BackupItem> items;
  for (const std::string& word : words) {
    const auto found = itemNames().find(word);
    if (found == itemNames().end()) throw Usage("there is no item \"" + word + "\"");
    items.insert(found->second);
  }
  if (items.empty())
    for (const auto& [name, item] : itemNames())
      if (item != zivra::BackupItem::robotConfigWithoutBodyParams) items.insert(item);
  return items;
}

// Draws only when a further part of the bar is full: a transfer tells of itself thousands of times.
class Bar {
 public:
  void show(std::uint64_t done, std::uint64_t total) {
    total_ = total;
    const auto full = static_cast<int>(total == 0 ? kWidth : done * kWidth / total);
    if (full == full_) return;
    full_ = full;
    const auto filled = static_cast<std::size_t>(full);
    std::printf("\r[%s%s] %3d %%", std::string(filled, '#').c_str(),
                std::string(kWidth - filled, ' ').c_str(), full * 100 / static_cast<int>(kWidth));
    std::fflush(stdout);
  }
  // Whatever is printed next begins on a line of its own.
  void end() const {
    if (full_ >= 0) std::printf("\n");
  }
  std::uint64_t total() const { return total_; }

 private:
  static constexpr std::size_t kWidth = 40;
  int full_ = -1;
  std::uint64_t total_ = 0;
};

void makeBackup(const std::string& address, const std::string& file,
                const std::set<zivra::BackupItem>& items) {
  zivra::BaseUpgrade service(address);
  Bar bar;
  service.setTransferProgress([&bar](std::uint64_t done, std::uint64_t total) { bar.show(done, total); });
  std::error_code ec;
  service.exportBackup(file, items, ec);
  bar.end();
  const bool partial = ec == zivra::Code::exportPartial;
  if (ec && !partial) throw std::runtime_error(ec.message() + " (" + std::to_string(ec.value()) + ")");
  std::printf("%llu bytes in \"%s\"%s\n", static_cast<unsigned long long>(bar.total()), file.c_str(),
              partial ? ", but the controller left items out" : "");
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  try {
    if (help || arguments.size() < 2) throw Usage("");
    makeBackup(arguments[0], arguments[1], chosenItems({arguments.begin() + 2, arguments.end()}));
    return 0;
  } catch (const Usage& error) {
    if (*error.what() != '\0') std::fprintf(stderr, "make_backup: %s\n", error.what());
    std::fputs("usage: make_backup ADDRESS FILE [ITEM...]\nITEM is one of", help ? stdout : stderr);
    for (const auto& [name, item] : itemNames()) std::fprintf(help ? stdout : stderr, " %s", name.c_str());
    std::fputs(
        "; without any it is all of them.\n"
        "Fetches a backup from the controller at ADDRESS into FILE, which is replaced once it is complete.\n",
        help ? stdout : stderr);
    return help ? 0 : 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_backup: at \"%s\": %s\n", arguments[0].c_str(), error.what());
    return 1;
  }
}
