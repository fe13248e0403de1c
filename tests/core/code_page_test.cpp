#include "core/code_page.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using zivra::internal::CodePage936;

TEST(CodePage936, ConvertsWhatItHasAndMarksTheRest) {
  const struct {
    std::string utf8, expected;
  } rows[] = {
      {"", ""},
      {"servo alarm", "servo alarm"},
      {"机器人", "\xbb\xfa\xc6\xf7\xc8\xcb"},
      {"€", "\x80"},
      {"·", "\xa1\xa4"},
      {"é", "\xa8\xa6"},
      {"a\xc2\xa9z", "a?z"},          // a character that the code page doesn't have
      {"a\xf0\x9f\x98\x80z", "a?z"},  // one of four bytes
      {"\xef\xbf\xbd", "?"},
      {"a\xffz", "a?z"},  // no UTF-8 from here on
      {"\x80\x80z", "?z"},
      {"a\xe6\x9c", "a?"},                // cut off
      {"\xe6\x9c\xc3\xa9", "?\xa8\xa6"},  // cut off by the next character
      {"a\xc0\xafz", "a?z"},              // longer than it has to be
      {std::string("a\0z", 3), std::string("a\0z", 3)},
  };
  const CodePage936 codePage;
  for (const auto& row : rows) EXPECT_EQ(codePage.fromUtf8(row.utf8), row.expected) << row.utf8;
  const std::string bad(10000, '\xff');
  EXPECT_EQ(codePage.fromUtf8(bad), std::string(bad.size(), '?'));
}

}  // namespace
