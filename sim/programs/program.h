// Program text as statements. What can be written is told in README.md beside this file.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "motion/motion.h"

namespace zivra::sim {

struct Statement {
  enum class Kind { move, wait, print, loop, endLoop, call };
  Kind kind = Kind::move;
  int line = 0;  // from 1
  Move move;
  double seconds = 0;
  int times = 0;            // of a loop; kForever
  std::string text;         // what to print, or the module to call
  std::size_t partner = 0;  // a loop's end, an end's loop
};
inline constexpr int kForever = -1;

struct Module {
  std::string file;
  std::vector<Statement> statements;
};

// "main.mod line 3: ..."
struct SyntaxError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// At most `mostStatements`. Throws SyntaxError.
Module parseModule(const std::string& file, const std::string& text, std::size_t mostStatements);

}  // namespace zivra::sim
