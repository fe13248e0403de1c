#pragma once

#include <map>
#include <string>

/// C# that the generator prints: how the types cross which the table uses.
namespace zivra::clr::abi {

class Source {
 public:
  /// Bodies that put and get `v`; a type that goes one way only has one of them empty.
  void type(const std::string& name, const std::string& put, const std::string& get) {
    if (!put.empty()) text_["put " + name] = "    internal void Put(" + name + " v) { " + put + "}\n";
    if (!get.empty()) text_["get " + name] = "    internal void Get(out " + name + " v) { " + get + " }\n";
  }
  /// A type that may be null, with the call that puts it.
  void nullable(const std::string& name, const std::string& put) {
    text_["null " + name] =
        "    internal void PutOrNull(" + name + " v) { Put(v != null); if (v != null) " + put + "; }\n";
    text_["null get " + name] = "    internal void GetOrNull(out " + name +
                                " v) { v = null; Get(out bool some); if (some) Get(out v); }\n";
  }
  /// A parameter that stays as it is unless the reply has a value for it.
  void kept(const std::string& name) {
    text_["kept " + name] =
        "    internal void Keep(ref " + name + " v) { Get(out bool some); if (some) Get(out v); }\n";
  }
  std::string text() const {
    std::string all;
    for (const auto& [key, one] : text_) all += one;
    return all;
  }

 private:
  std::map<std::string, std::string> text_;
};

}  // namespace zivra::clr::abi
