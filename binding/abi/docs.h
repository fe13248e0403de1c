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
  /// that one counts which has most of `words`, its parameters, in it; then one with a comment, then the
  /// shortest.
  std::string of(const std::string& owner, const std::string& name,
                 const std::vector<std::string>& words = {}) const;

 private:
  struct Declared {
    std::string comment, declaration;
  };
  std::map<std::string, std::vector<Declared>> texts_;
};

/// A comment in the words of C#: its types, and `.` for `::`.
std::string inManagedWords(const std::string& comment);
/// A comment as XML: escaped, exceptions as references, names in backticks as code, or as parameters if they
/// are among `parameters`.
std::string xml(const std::string& comment, const std::vector<std::string>& parameters = {});
/// Lines of C# with a summary in which a word of C++ is left.
std::vector<std::string> foreignSummaries(const std::string& source);
/// "setPowerState" as "Set power state", for what has no comment.
std::string wordsOf(const std::string& name);
/// What a type's comment says of a member ("`estop` emergency stop"); its own name in words if it says
/// nothing.
std::string memberWords(const std::string& comment, const std::string& member);

}  // namespace zivra::clr::abi
