// Writing a file so that nobody ever sees half of it. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace zivra::internal {

// Written beside `path` and renamed when it is whole and on the disk; whatever was at `path` stays until
// then. False if that can't be done; nothing of it is left behind then. Throws std::bad_alloc.
bool storeFile(const std::string& path, std::string_view bytes);

}  // namespace zivra::internal
