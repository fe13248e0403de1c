#include "support/damage.h"

#include <fnmatch.h>
#include <functional>
#include <json/json.h>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace zivra::test {

namespace {

std::string written(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

Json::Value parsed(const std::string& text) {
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) {
    throw std::invalid_argument("no JSON: " + text);
  }
  return value;
}

struct Substitute {
  const char* name;
  const char* json;
};

// An integer in place of data may be a code; this one is a refusal.
constexpr Substitute substitutes[] = {{"null", "null"},  {"bool", "true"}, {"int", "-290"}, {"real", "0.5"},
                                      {"text", "\"x\""}, {"array", "[]"},  {"object", "{}"}};

// A number where a number is expected is no damage; a real where a code is expected is.
bool isOfKind(const Json::Value& value, const std::string& kind) {
  if (value.isNull()) return kind == "null";
  if (value.isBool()) return kind == "bool";
  if (value.isString()) return kind == "text";
  if (value.isArray()) return kind == "array";
  if (value.isObject()) return kind == "object";
  return kind == "int" || (kind == "real" && value.type() == Json::realValue);
}

class Damages {
 public:
  explicit Damages(const std::string& json) : whole_(parsed(json)) {
    at("", [](Json::Value& root) -> Json::Value& { return root; });
  }
  std::vector<Damage> take() { return std::move(found_); }

 private:
  using Place = std::function<Json::Value&(Json::Value& root)>;

  void add(const std::string& name, const Place& place, const std::function<void(Json::Value&)>& change) {
    Json::Value copy = whole_;
    change(place(copy));
    found_.push_back({name, written(copy)});
  }

  void at(const std::string& path, const Place& place) {
    const Json::Value here = place(whole_);
    for (const auto& [kind, json] : substitutes) {
      if (isOfKind(here, kind)) continue;
      add(path + "=" + kind, place, [text = json](Json::Value& value) { value = parsed(text); });
    }
    if (here.isObject()) {
      for (const std::string& name : here.getMemberNames()) {
        add("-" + path + "/" + name, place, [&](Json::Value& value) { value.removeMember(name); });
        at(path + "/" + name, [place, name](Json::Value& root) -> Json::Value& { return place(root)[name]; });
      }
    }
    if (!here.isArray()) return;
    if (!here.empty()) {
      add("<" + path, place, [](Json::Value& value) { value.resize(value.size() - 1); });
      add("<<" + path, place, [](Json::Value& value) { value.resize(0); });
    }
    add(">" + path, place,
        [](Json::Value& value) { value.append(value.empty() ? Json::Value() : value[0]); });
    for (Json::ArrayIndex i = 0; i < here.size(); ++i) {
      at(path + "/" + std::to_string(i),
         [place, i](Json::Value& root) -> Json::Value& { return place(root)[i]; });
    }
  }

  Json::Value whole_;
  std::vector<Damage> found_;
};

}  // namespace

std::vector<Damage> damagesOf(const std::string& json) { return Damages(json).take(); }

bool matchesAny(const std::string& name, const std::string& patterns) {
  std::istringstream words(patterns);
  for (std::string word; words >> word;) {
    if (::fnmatch(word.c_str(), name.c_str(), 0) == 0) return true;
  }
  return false;
}

}  // namespace zivra::test
