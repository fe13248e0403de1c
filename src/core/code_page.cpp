#include "core/code_page.h"

#if __has_include(<iconv.h>)
#include <cstddef>
#include <iconv.h>
#define ZIVRA_HAS_ICONV
#endif

namespace zivra::internal {

#if defined(ZIVRA_HAS_ICONV)

namespace {

// Length of what can't be converted: a byte and those that continue it.
std::size_t lengthOfBad(const char* at, std::size_t left) {
  std::size_t length = 1;
  while (length < left && length < 4 && (static_cast<unsigned char>(at[length]) & 0xc0U) == 0x80U) ++length;
  return length;
}

}  // namespace

CodePage936::CodePage936() noexcept : conversion_(::iconv_open("CP936", "UTF-8")) {
  if (conversion_ == reinterpret_cast<iconv_t>(-1)) conversion_ = nullptr;
}

CodePage936::~CodePage936() {
  if (conversion_ != nullptr) ::iconv_close(conversion_);
}

std::string CodePage936::fromUtf8(std::string_view text) const {
  if (conversion_ == nullptr) return std::string(text);
  std::string in(text);
  std::string out(in.size(), '\0');  // no character is longer in the code page than in UTF-8
  char* from = in.data();
  char* to = out.data();
  std::size_t left = in.size(), room = out.size();
  ::iconv(conversion_, nullptr, nullptr, nullptr, nullptr);
  while (left > 0 && room > 0) {
    if (::iconv(conversion_, &from, &left, &to, &room) != static_cast<std::size_t>(-1) || left == 0) break;
    const std::size_t bad = lengthOfBad(from, left);
    from += bad;
    left -= bad;
    if (room == 0) break;
    *to++ = '?';
    --room;
  }
  out.resize(out.size() - room);
  return out;
}

#else

CodePage936::CodePage936() noexcept : conversion_(nullptr) {}
CodePage936::~CodePage936() = default;
std::string CodePage936::fromUtf8(std::string_view text) const { return std::string(text); }

#endif

}  // namespace zivra::internal
