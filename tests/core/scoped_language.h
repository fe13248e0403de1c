// Sets the process's language for one scope.
#pragma once

#include "core/process_state.h"

class ScopedLanguage {
 public:
  explicit ScopedLanguage(zivra::internal::Language language) : before_(zivra::internal::language()) {
    zivra::internal::setLanguage(language);
  }
  ~ScopedLanguage() { zivra::internal::setLanguage(before_); }
  ScopedLanguage(const ScopedLanguage&) = delete;
  ScopedLanguage& operator=(const ScopedLanguage&) = delete;

 private:
  zivra::internal::Language before_;
};
