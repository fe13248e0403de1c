// Files that clients send to the controller.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zivra::sim {

struct ReceivedFile {
  std::string name, function;  // as announced
  bool overwrite = false;
  std::vector<unsigned char> bytes;
};

// A file that was announced, and what has come since, by link: the rest of a transfer that its client has
// given up, on a link that it has closed, may be read after the next announcement, and is none of that file.
struct IncomingFile {
  ReceivedFile file;
  std::string md5;
  std::uint64_t length = 0;
  std::map<std::uint64_t, std::vector<unsigned char>> arrived;
};

}  // namespace zivra::sim
