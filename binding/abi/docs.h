#pragma once

#include <map>
#include <string>
#include <vector>

/// Comments of C++ headers, for the C# that is generated from the same declarations.
namespace zivra::clr::abi {

class Docs {
 public:
  /// Reads all `///` comments of a header; throws std::runtime_error if it can't be read.
  void read(const std::string& path);
  /// Comment of a name in a class, or of a class ("" as name); "" if there is none. Of several declarations
  /// that one counts which has most of `words`, its parameters, in it.
  std::string of(const std::string& owner, const std::string& name,
                 const std::vector<std::string>& words = {}) const;

 private:
  struct Declared {
    std::string comment, declaration;
  };
  std::map<std::string, std::vector<Declared>> texts_;
};

/// A comment as XML: escaped, names in backticks as code.
std::string xml(const std::string& comment);
/// "setPowerState" as "Set power state", for what has no comment.
std::string wordsOf(const std::string& name);

}  // namespace zivra::clr::abi
