// A text in both languages. Constant data: it is there before anything else of the program runs.
#pragma once

#include "core/process_state.h"

namespace zivra::internal {

struct Texts {
  const char* english;
  const char* chinese;

  const char* current() const noexcept { return language() == Language::chinese ? chinese : english; }
};

}  // namespace zivra::internal
