#pragma once

#include <system_error>

#include <zivra/error.h>

namespace zivra::internal {

// What goes wrong with files, numbered as the controller does.
inline constexpr int unopenedFile = -280, wrongFileType = -281, badFileSize = -283, failedToSend = -284,
                     sendTimeout = -285;

// A code of the controller's, or 0.
inline std::error_code codeOf(int value) noexcept { return {value, category()}; }

}  // namespace zivra::internal
