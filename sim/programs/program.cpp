#include "programs/program.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>
#include <utility>

#include "motion/angles.h"

namespace zivra::sim {

namespace {

constexpr double kMillimetre = 0.001;
constexpr double kMostSeconds = 1e6;
constexpr int kMostTimes = 1'000'000'000;
constexpr std::size_t kDeepestLoop = 16;

struct Complaint {
  std::string what;
};

template <class... Args>
[[noreturn]] void complain(fmt::format_string<Args...> format, Args&&... args) {
  throw Complaint{fmt::format(format, std::forward<Args>(args)...)};
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// One line, read from left to right; what doesn't fit is complained of.
class Line {
 public:
  explicit Line(std::string_view text) : left_(text) {}

  bool ended() {
    skipBlanks();
    return left_.empty() || left_.front() == '!';
  }
  bool take(char c) {
    skipBlanks();
    if (left_.empty() || left_.front() != c) return false;
    left_.remove_prefix(1);
    return true;
  }
  std::string word() { return takeWhile(isLetter); }
  std::string name() {
    return takeWhile([](char c) { return !isBlank(c) && c != '!'; });
  }
  double number(std::string_view of) {
    skipBlanks();
    double value = 0;
    const auto [end, error] = std::from_chars(left_.data(), left_.data() + left_.size(), value);
    if (error != std::errc{} || !std::isfinite(value)) complain("{} needs a number", of);
    left_.remove_prefix(static_cast<std::size_t>(end - left_.data()));
    return value;
  }
  std::string quoted() {
    if (!take('"')) complain("a text stands in double quotes");
    const auto end = left_.find('"');
    if (end == std::string_view::npos) complain("a text ends with a double quote");
    std::string text(left_.substr(0, end));
    left_.remove_prefix(end + 1);
    return text;
  }
  std::vector<double> list(std::string_view of) {
    if (!take('[')) complain("{} needs its target in brackets", of);
    std::vector<double> numbers;
    do {
      numbers.push_back(number(of));
    } while (take(','));
    if (!take(']')) complain("the target of {} is a list of numbers in brackets", of);
    return numbers;
  }

 private:
  void skipBlanks() {
    while (!left_.empty() && isBlank(left_.front())) left_.remove_prefix(1);
  }
  template <class Wanted>
  std::string takeWhile(Wanted wanted) {
    skipBlanks();
    std::size_t length = 0;
    while (length < left_.size() && wanted(left_[length])) ++length;
    std::string taken(left_.substr(0, length));
    left_.remove_prefix(length);
    return taken;
  }

  std::string_view left_;
};

Move readMove(MoveKind kind, const std::string& word, Line& line) {
  Move move;
  move.kind = kind;
  const auto numbers = line.list(word);
  if (kind == MoveKind::absJ) {
    for (const double degrees : numbers) move.joints.push_back(degrees * kDegree);
  } else if (numbers.size() != 6) {
    complain("{} needs 6 numbers, not {}", word, numbers.size());
  } else {
    for (std::size_t i = 0; i < 3; ++i) {
      move.target.pose.trans[i] = numbers[i] * kMillimetre;
      move.target.pose.rot[i] = numbers[i + 3] * kDegree;
    }
  }
  const bool ofAxes = kind != MoveKind::line;
  while (line.take(',')) {
    if (line.take('z') && !move.zone) {
      move.zone = line.number("a zone") * kMillimetre;
    } else if (line.take('v') && !move.speed && !move.jointSpeed) {
      const double speed = line.number("a speed");
      if (line.take('%') != ofAxes)
        complain("the speed of {} is {}", word, ofAxes ? "a percentage: v30%" : "in mm/s: v200");
      (ofAxes ? move.jointSpeed : move.speed) = ofAxes ? speed / 100 : speed * kMillimetre;
    } else {
      complain("behind the target of {} a speed and a zone may stand, for instance {}", word,
               ofAxes ? "v30%, z5" : "v200, z5");
    }
  }
  return move;
}

int readTimes(Line& line) {
  if (line.ended()) return kForever;
  const double times = line.number("Loop");
  if (times < 0 || times > kMostTimes || times != std::floor(times))
    complain("Loop needs a whole number from 0, or none");
  return static_cast<int>(times);
}

Statement readStatement(Line& line) {
  using Kind = Statement::Kind;
  Statement statement;
  const std::string word = line.word();
  if (word == "MoveAbsJ" || word == "MoveJ" || word == "MoveL") {
    const MoveKind kind = word == "MoveAbsJ" ? MoveKind::absJ
                          : word == "MoveJ"  ? MoveKind::joint
                                             : MoveKind::line;
    statement.move = readMove(kind, word, line);
  } else if (word == "Wait") {
    statement.kind = Kind::wait;
    statement.seconds = line.number(word);
    if (statement.seconds < 0 || statement.seconds > kMostSeconds)
      complain("Wait needs seconds from 0 to a million");
  } else if (word == "Print") {
    statement.kind = Kind::print;
    statement.text = line.quoted();
  } else if (word == "Loop") {
    statement.kind = Kind::loop;
    statement.times = readTimes(line);
  } else if (word == "EndLoop") {
    statement.kind = Kind::endLoop;
  } else if (word == "Call") {
    statement.kind = Kind::call;
    statement.text = line.name();
    if (statement.text.empty()) complain("Call needs the name of a program");
  } else {
    complain("there is no statement \"{}\"", word);
  }
  if (!line.ended()) complain("something stands behind {} that doesn't belong there", word);
  return statement;
}

}  // namespace

Module parseModule(const std::string& file, const std::string& text, std::size_t mostStatements) {
  Module module{file, {}};
  std::vector<std::size_t> open;  // loops without their ends so far
  int number = 0;
  try {
    for (std::size_t begin = 0; begin < text.size();) {
      const auto end = std::min(text.find('\n', begin), text.size());
      Line line(std::string_view(text).substr(begin, end - begin));
      begin = end + 1;
      ++number;
      if (line.ended()) continue;
      if (module.statements.size() == mostStatements) complain("the program is too long");
      const std::size_t index = module.statements.size();
      Statement& statement = module.statements.emplace_back(readStatement(line));
      statement.line = number;
      if (statement.kind == Statement::Kind::loop) {
        if (open.size() == kDeepestLoop) complain("loops are nested too deeply");
        open.push_back(index);
      } else if (statement.kind == Statement::Kind::endLoop) {
        if (open.empty()) complain("EndLoop without a Loop");
        statement.partner = open.back();
        module.statements[open.back()].partner = index;
        open.pop_back();
      }
    }
    if (!open.empty()) {
      number = module.statements[open.back()].line;
      complain("Loop without an EndLoop");
    }
  } catch (const Complaint& complaint) {
    throw SyntaxError(fmt::format("{} line {}: {}", file, number, complaint.what));
  }
  return module;
}

}  // namespace zivra::sim
