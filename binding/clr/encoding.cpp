#include "clr/encoding.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstddef>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>
#include <optional>

namespace zivra::clr {

namespace {

constexpr const char utf8[] = "UTF-8";
constexpr const char ascii[] = "ANSI_X3.4-1968";  // what the locale "C" calls it: nobody has chosen anything
constexpr const char replacement[] = "\xEF\xBF\xBD";

struct Piece {
  std::size_t length;
  bool valid;
};

// The character at the beginning of `bytes`, or the bytes of a broken one that are replaced together.
Piece firstPiece(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return {1, true};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {1, false};
  // The second byte excludes forms that are too long, surrogates, and what is beyond the last character.
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= bytes.size()) return {i, false};
    if (at(i) < (i == 1 ? low : 0x80) || at(i) > (i == 1 ? high : 0xBF)) return {i, false};
  }
  return {length, true};
}

// One conversion from UTF-8.
class Conversion {
 public:
  explicit Conversion(const std::string& codeset) : handle_(::iconv_open(codeset.c_str(), utf8)) {}
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;
  ~Conversion() {
    if (known()) ::iconv_close(handle_);
  }
  bool known() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  // Nothing if the codeset lacks a character and there is no `substitute` for it. `text` is valid UTF-8.
  std::optional<std::string> convert(std::string text, std::optional<char> substitute) {
    // No codeset needs more than that, the marks that switch between its parts included.
    std::string out(text.size() * 8 + 16, '\0');
    char *from = text.data(), *to = out.data();
    std::size_t left = text.size(), room = out.size();
    while (left > 0) {
      const std::size_t replaced = ::iconv(handle_, &from, &left, &to, &room);
      // Some converters put something else in by themselves, and count it.
      if (replaced != static_cast<std::size_t>(-1) && replaced > 0 && !substitute) return std::nullopt;
      if (left == 0) break;
      if (errno != EILSEQ || !substitute || room == 0) return std::nullopt;
      const std::size_t skipped = firstPiece({from, left}).length;
      from += skipped;
      left -= skipped;
      *to++ = *substitute;
      --room;
    }
    ::iconv(handle_, nullptr, nullptr, &to, &room);
    out.resize(out.size() - room);
    return out;
  }

 private:
  iconv_t handle_;
};

}  // namespace

std::string environmentCodeset() {
  // NOLINTNEXTLINE(misc-misplaced-const): the handle's type is the system's
  const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return utf8;
  const std::string codeset = ::nl_langinfo_l(CODESET, locale);
  ::freelocale(locale);
  return codeset.empty() || codeset == ascii ? utf8 : codeset;
}

const std::string& narrowCodeset() {
  static const auto& codeset = *new std::string(environmentCodeset());  // for threads that outlive main
  return codeset;
}

std::string validUtf8(std::string_view bytes) {
  // Most texts are ASCII: as much of it as there is at once.
  const auto plainOf = [](std::string_view of) {
    const auto other = std::find_if(of.begin(), of.end(), [](char c) { return (c & 0x80) != 0; });
    return of.substr(0, static_cast<std::size_t>(other - of.begin()));
  };
  std::string text(plainOf(bytes));
  bytes.remove_prefix(text.size());
  while (!bytes.empty()) {
    const Piece piece = firstPiece(bytes);
    text += piece.valid ? bytes.substr(0, piece.length) : std::string_view(replacement);
    bytes.remove_prefix(piece.length);
    const std::string_view plain = plainOf(bytes);
    text += plain;
    bytes.remove_prefix(plain.size());
  }
  return text;
}

std::string encode(std::string_view text, const std::string& codeset) {
  std::string valid = validUtf8(text);
  if (codeset == utf8) return valid;
  Conversion conversion(codeset);
  if (!conversion.known()) return valid;
  return conversion.convert(valid, '?').value_or(valid);
}

std::string encodeStrictly(std::string_view text, const std::string& codeset) {
  std::string valid = validUtf8(text);
  if (valid != text) throw EncodingFailure("no UTF-8");
  if (codeset == utf8) return valid;
  Conversion conversion(codeset);
  auto encoded = conversion.known() ? conversion.convert(std::move(valid), std::nullopt) : std::nullopt;
  if (!encoded) throw EncodingFailure("not in " + codeset);
  return *std::move(encoded);
}

}  // namespace zivra::clr
