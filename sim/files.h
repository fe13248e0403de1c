// Files that clients send to the controller.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zivra::sim {

struct ReceivedFile {
  std::string name, function;  // as announced
  bool overwrite = false;
  std::vector<unsigned char> bytes;
};

// A file that was announced, and as much of it as has come.
struct IncomingFile {
  ReceivedFile file;
  std::string md5;
  std::uint64_t length = 0;
  std::uint64_t link = 0;  // that brings it; 0: none yet
};

}  // namespace zivra::sim
