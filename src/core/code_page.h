// Text in code page 936, which applications with Chinese texts expect of the controller's log. One object for
// each thread.
#pragma once

#include <string>
#include <string_view>

namespace zivra::internal {

class CodePage936 {
 public:
  CodePage936() noexcept;
  ~CodePage936();
  CodePage936(const CodePage936&) = delete;
  CodePage936& operator=(const CodePage936&) = delete;

  // "?" in place of each character that the code page doesn't have and of each run of bytes that is no UTF-8;
  // the text as it is where the system can't convert. Throws nothing but std::bad_alloc.
  std::string fromUtf8(std::string_view text) const;

 private:
  void* conversion_;  // null: there is none
};

}  // namespace zivra::internal
