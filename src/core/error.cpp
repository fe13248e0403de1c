#include <string>
#include <system_error>

#include <zivra/error.h>

#include "core/error_table.h"

namespace zivra {
namespace {

// A union so that it is there before main and no destructor runs after it.
union Category {
  constexpr Category() : category() {}
  ~Category() {}  // NOLINT: the member stays

  internal::ApiErrorCategory category;
};

constinit Category theCategory;

constexpr int kGeneralFailure = -1;

}  // namespace

namespace internal {

const char* ApiErrorCategory::name() const noexcept { return "Ostrel-SDK"; }

std::string ApiErrorCategory::message(int code) const {
  const Texts* texts = textsOfCode(code);
  return (texts ? texts : textsOfCode(kGeneralFailure))->current();
}

}  // namespace internal

const std::error_category& category() noexcept { return theCategory.category; }

std::error_code make_error_code(Code code) noexcept { return {static_cast<int>(code), category()}; }

}  // namespace zivra
