// Each type has one list of its members, which all directions go through: what is written is what is read.
// Lists are alphabetical, the order in which text is written.
#include "core/wire_forms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <limits>
#include <string_view>

#include "core/json.h"
#include "core/json_text.h"

namespace zivra::internal {
namespace {

template <class T, class Type>
concept Either = std::same_as<std::remove_const_t<T>, Type>;  // to be written if const, else to be read

template <class Visitor, Either<Frame> T>
void visitMembers(Visitor& visitor, T& frame) {
  visitor.numbers("rot", frame.rpy);
  const bool placed = visitor.numbers("trans", frame.trans);
  // An orientation isn't taken over without its place.
  if constexpr (!std::is_const_v<T>) {
    if (!placed) frame.rpy = {};
  }
}

template <class Visitor, Either<Load> T>
void visitMembers(Visitor& visitor, T& load) {
  visitor.numbers("cog", load.cog);
  visitor.numbers("inertia", load.inertia);
  visitor.number("mass", load.mass);
}

template <class Visitor, Either<Toolset> T>
void visitMembers(Visitor& visitor, T& toolset) {
  visitor.object("end", toolset.end);
  visitor.object("load", toolset.load);
  visitor.object("ref", toolset.reference);
}

// The two ways to send an elbow; replies have the plain one.
enum class Elbow { plain, redundant };

template <class Visitor, Either<CartesianPosition> T, class Offset>
void visitMembers(Visitor& visitor, T& position, Elbow elbow, const Offset& visitOffset) {
  visitor.configuration("conf", position.confData);
  if (elbow == Elbow::plain) visitor.number("elb", position.elbow);
  visitor.givenNumbers("external", position.external);
  visitOffset();
  if (elbow == Elbow::redundant) visitor.single("redundant", position.elbow);
  using Pose = std::conditional_t<std::is_const_v<T>, const Frame, Frame>;
  visitMembers(visitor, static_cast<Pose&>(position));
}

constexpr auto kNoOffset = [] {};

// An axis configuration always goes out with 8 entries.
std::array<double, 8> sentConfiguration(const std::vector<int>& configuration) {
  std::array<double, 8> sent{};
  std::copy_n(configuration.begin(), std::min(configuration.size(), sent.size()), sent.begin());
  return sent;
}

class TreeWriting {
 public:
  explicit TreeWriting(Json::Value& value) : value_(value) {
    if (value_.type() != Json::objectValue) value_ = Json::Value(Json::objectValue);
  }

  void number(const char* key, double number) { value_[key] = number; }
  bool numbers(const char* key, const std::array<double, 3>& numbers) {
    put(key, numbers.data(), numbers.size());
    return true;
  }
  void givenNumbers(const char* key, const std::vector<double>& numbers) {
    if (!numbers.empty()) put(key, numbers.data(), numbers.size());
  }
  void single(const char* key, double number) { put(key, &number, 1); }
  void configuration(const char* key, const std::vector<int>& configuration) {
    if (configuration.empty()) return;
    const auto sent = sentConfiguration(configuration);
    put(key, sent.data(), sent.size());
  }
  template <class T>
  void object(const char* key, const T& part) {
    TreeWriting inner(value_[key]);
    visitMembers(inner, part);
  }

 private:
  void put(const char* key, const double* numbers, std::size_t count) {
    value_[key] = numbersJson({numbers, count});
  }

  Json::Value& value_;
};

class TextWriting {
 public:
  explicit TextWriting(JsonText& out) : out_(out) {}

  void number(const char* key, double number) { out_.key(key).number(number); }
  bool numbers(const char* key, const std::array<double, 3>& numbers) {
    out_.key(key).numbers(numbers.data(), numbers.size());
    return true;
  }
  void givenNumbers(const char* key, const std::vector<double>& numbers) {
    if (!numbers.empty()) out_.key(key).numbers(numbers.data(), numbers.size());
  }
  void single(const char* key, double number) { out_.key(key).numbers(&number, 1); }
  void configuration(const char* key, const std::vector<int>& configuration) {
    if (configuration.empty()) return;
    const auto sent = sentConfiguration(configuration);
    out_.key(key).numbers(sent.data(), sent.size());
  }

 private:
  JsonText& out_;
};

// An int as exactly as the number allows: cut off towards 0, and held within the range.
int toInt(double number) noexcept {
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<double>(std::trunc(number), Limits::min(), Limits::max()));
}

// The same as `readVector`, as int.
int readConfiguration(const Json::Value& value, std::vector<int>& out) {
  const auto numbers = asNumbers(value);
  if (!numbers) return 1;
  out.resize(numbers->size());
  std::transform(numbers->begin(), numbers->end(), out.begin(), toInt);
  return 0;
}

class Reading {
 public:
  explicit Reading(const Json::Value& value)
      : value_(value), malformed_(!value.isNull() && value.type() != Json::objectValue) {}

  bool malformed() const noexcept { return malformed_; }

  void number(const char* key, double& number) {
    const Json::Value& found = member(value_, key);
    if (const auto read = asNumber(found)) {
      number = *read;
    } else if (!found.isNull()) {
      malformed_ = true;
    }
  }
  bool numbers(const char* key, std::array<double, 3>& numbers) {
    const Json::Value& found = member(value_, key);
    if (readArray(found, numbers.data(), numbers.size()) == 0) return true;
    if (found.isArray() && found.size() >= numbers.size()) malformed_ = true;  // long enough, so no numbers
    return false;
  }
  void givenNumbers(const char* key, std::vector<double>& numbers) {
    const Json::Value& found = member(value_, key);
    if (readVector(found, numbers) != 0 && found.isArray()) malformed_ = true;
  }
  void single(const char*, double&) {}  // only ever sent
  void configuration(const char* key, std::vector<int>& configuration) {
    const Json::Value& found = member(value_, key);
    if (readConfiguration(found, configuration) != 0 && found.isArray()) malformed_ = true;
  }
  template <class T>
  void object(const char* key, T& part) {
    Reading inner(member(value_, key));
    visitMembers(inner, part);
    malformed_ = malformed_ || inner.malformed();
  }

 private:
  const Json::Value& value_;
  bool malformed_;
};

void report(const Reading& reading, bool* malformed) {
  if (malformed != nullptr && reading.malformed()) *malformed = true;
}

}  // namespace

Json::Value numbersJson(std::span<const double> numbers) {
  Json::Value array(Json::arrayValue);
  for (const double number : numbers) array.append(number);
  return array;
}

void writeFrame(const Frame& frame, Json::Value& value) {
  TreeWriting writing(value);
  visitMembers(writing, frame);
}

Json::Value writeLoad(const Load& load, Json::Value& value) {
  TreeWriting writing(value);
  visitMembers(writing, load);
  return value;
}

Json::Value writeToolset(const Toolset& toolset, Json::Value& value) {
  TreeWriting writing(value);
  visitMembers(writing, toolset);
  return value;
}

Json::Value writeCartesian(const CartesianPosition& position, bool redundant, Json::Value& value) {
  TreeWriting writing(value);
  visitMembers(writing, position, redundant ? Elbow::redundant : Elbow::plain, kNoOffset);
  return value;
}

void appendPoint(const CartesianPosition& position, const CartesianPosition::Offset& offset, JsonText& out) {
  using Type = CartesianPosition::Offset::Type;
  TextWriting writing(out);
  out.beginObject();
  visitMembers(writing, position, Elbow::plain, [&] {
    if (offset.type != Type::offs && offset.type != Type::relTool) return;
    out.key("offset").beginObject();
    visitMembers(writing, offset.frame);
    out.key("type").text(offset.type == Type::offs ? "offs" : "reltool");
    out.endObject();
  });
  out.endObject();
}

Frame readFrame(const Json::Value& value, bool* malformed) {
  Frame frame;
  Reading reading(value);
  visitMembers(reading, frame);
  report(reading, malformed);
  return frame;
}

CartesianPosition readCartesian(const Json::Value& value, bool* malformed) {
  CartesianPosition position;
  Reading reading(value);
  visitMembers(reading, position, Elbow::plain, kNoOffset);
  report(reading, malformed);
  return position;
}

Load readLoad(const Json::Value& value, bool* malformed) {
  Load load;
  Reading reading(value);
  visitMembers(reading, load);
  report(reading, malformed);
  return load;
}

int readToolset(const Json::Value& value, Toolset& toolset, bool* malformed) {
  for (const std::string_view key : {"end", "load", "ref"}) {
    if (!hasMember(value, key)) return 1;
  }
  Toolset read;
  Reading reading(value);
  visitMembers(reading, read);
  report(reading, malformed);
  if (reading.malformed()) return 1;
  toolset = read;
  return 0;
}

int readArray(const Json::Value& value, double* out, std::size_t n) {
  if (value.type() != Json::arrayValue || value.size() < n) return 1;
  std::size_t count = 0;
  for (auto it = value.begin(); count < n; ++it, ++count) {
    if (!asNumber(*it)) return 1;
  }
  count = 0;
  for (auto it = value.begin(); count < n; ++it, ++count) out[count] = *asNumber(*it);
  return 0;
}

int readVector(const Json::Value& value, std::vector<double>& out) {
  auto numbers = asNumbers(value);
  if (!numbers) return 1;
  out = std::move(*numbers);
  return 0;
}

}  // namespace zivra::internal
