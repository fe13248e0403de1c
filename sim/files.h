// Files that clients send to the controller.
#pragma once

#include <string>
#include <vector>

namespace zivra::sim {

struct ReceivedFile {
  std::string name, function;  // as announced
  bool overwrite = false;
  std::vector<unsigned char> bytes;
};

}  // namespace zivra::sim
