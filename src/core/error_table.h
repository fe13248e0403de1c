// The texts of all codes.
#pragma once

#include "core/texts.h"

namespace zivra::internal {

// Null for a code that has none of its own. Any thread.
const Texts* textsOfCode(int code) noexcept;

}  // namespace zivra::internal
