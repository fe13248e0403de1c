// Prints the C# that goes with the table: enumerations, methods and how the types cross.
// usage: zivra_clr_gen HEADER...    headers whose comments become the documentation, the layer's own first
// A comment in the layer's header follows that of the native operation, or takes its place if it begins with
// @brief.
#include <cctype>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include "abi/docs.h"
#include "abi/registry.h"

using namespace zivra::clr::abi;

namespace {

struct AllDocs {
  Docs layer, native;
};

/// Classes of the native library whose operations a class of the layer has.
std::vector<std::string> nativeOwners(const std::string& owner) {
  if (owner == "BaseRobot") return {"BaseRobot", "Robot_T", "Model_T", "BaseModel"};
  if (owner == "Cobot") return {"BaseCobot", "Cobot"};
  if (owner == "ForceControl") return {"BaseForceControl", "ForceControl_T"};
  return {owner};
}

std::string documentation(const AllDocs& docs, const Row& row) {
  std::vector<std::string> words;
  for (const ParameterText& one : row.parameters) words.push_back(one.name);
  const std::string own = docs.layer.of(row.owner, row.name, words), brief = "@brief ";
  if (own.rfind(brief, 0) == 0) return xml(inManagedWords(own.substr(brief.size())), words);
  std::string text;
  for (const std::string& owner : nativeOwners(row.owner)) {
    if (text.empty()) text = docs.native.of(owner, row.name, words);
  }
  if (text.empty() || text[0] == '(') text = wordsOf(row.name) + (text.empty() ? "" : " ") + text;
  if (text.back() != '.') text += ".";
  if (!own.empty()) {
    text += " " + own;
    text[text.size() - own.size()] = static_cast<char>(std::toupper(static_cast<unsigned char>(own[0])));
    if (text.back() != '.') text += ".";
  }
  return xml(inManagedWords(text), words);
}

std::string constructorText(const Row& row) {
  if (row.parameters.empty()) return "Makes one that isn't connected.";
  return xml(
      "Connects to the controller at `" + std::string(row.parameters[0].name) + "`; throws ApiException.",
      {row.parameters[0].name});
}

std::string wrapped(const std::string& indent, const std::string& text) {
  return indent + "/// <summary>" + text + "</summary>\n";
}

std::string escaped(const std::string& name) {
  for (const char* word : {"base", "checked", "event", "fixed", "in", "is", "lock", "object", "operator",
                           "out", "params", "ref", "string", "this"}) {
    if (name == word) return "@" + name;
  }
  return name;
}

std::string methodText(const Row& row, std::size_t number, const std::string& comment) {
  std::string parameters, putting, getting;
  for (const ParameterText& one : row.parameters) {
    const char* direction = one.way == Way::out                            ? "out "
                            : one.way == Way::in || one.way == Way::change ? ""
                                                                           : "ref ";
    const std::string name = escaped(one.name);
    parameters += (parameters.empty() ? "" : ", ") + (direction + one.type) + " " + name;
    if (!one.put.empty()) putting += "call." + one.put + "; ";
    if (one.way == Way::change)
      getting += "call.Change(" + name + "); ";
    else if (one.way == Way::keep)
      getting += "call.Keep(ref " + name + "); ";
    else if (one.way != Way::in)
      getting += "call.Get(out " + name + "); ";
  }
  const std::string owner = row.owner, result = row.result;
  const bool constructs = result.empty();
  const bool derived = constructs && owner != "BaseRobot" && owner != "BaseUpgrade";
  const bool makes = result == "ForceControl" || result == "BaseEthercat";
  std::string text = wrapped("        ", comment) + "        public " +
                     (row.isStatic && !constructs ? "static " : "") + (constructs ? "" : result + " ") +
                     row.name + "(" + parameters + ")" + (derived ? " : base(Shell.None)" : "") +
                     "\n        {\n            var call = Call.Begin(); " + putting + "call.Invoke(" +
                     (row.isStatic ? "0" : "handle") + ", " + std::to_string(number) + ", \"" + owner +
                     "\"); ";
  if (constructs)
    text += "call.Get(out handle); ";
  else if (makes)
    text += "call.Get(out long made); var result = new " + result + "(made); ";
  else if (result != "void")
    text += "call.Get(out " + result + " result); ";
  text += getting + "call.End();" + (row.isStatic ? "" : " GC.KeepAlive(this);") +
          (constructs || result == "void" ? "" : " return result;") + "\n        }\n";
  return text;
}

template <class E>
std::string enumText(const AllDocs& docs) {
  std::string name = EnumInfo<E>::name, open, close;
  std::string indent = "    ";
  std::string comment = inManagedWords(docs.layer.of(name, ""));
  if (comment.empty()) comment = inManagedWords(docs.native.of(name, ""));
  // A nested one goes into the parts of its owners.
  for (std::size_t dot; (dot = name.find('.')) != std::string::npos; name = name.substr(dot + 1)) {
    const std::string owner = name.substr(0, dot);
    const bool reference = owner == "CartesianPosition" || owner == "Offset" || owner == "MoveCommand";
    open += indent + "public partial " + (reference ? "class " : "struct ") + owner + "\n" + indent + "{\n";
    close = indent + "}\n" + close;
    indent += "    ";
  }
  std::string text = open + wrapped(indent, xml(comment.empty() ? wordsOf(name) + "." : comment)) + indent +
                     "public enum " + name + "\n" + indent + "{\n";
  for (const auto& [member, number] : EnumInfo<E>::members)
    text += wrapped(indent + "    ", xml(memberWords(comment, member))) + indent + "    " + member + " = " +
            std::to_string(number) + ",\n";
  return text + indent + "}\n" + close;
}

std::string faultTexts() {
  std::string text = "    internal static class Fault\n    {\n";
  for (const auto& [name, number] : faultNumbers())
    text += "        internal const int " + name + " = " + std::to_string(number) + ";\n";
  return text + "    }\n";
}

template <class... E>
std::string enumTexts(const AllDocs& docs, EnumList<E...>) {
  return (enumText<E>(docs) + ...);
}

}  // namespace

int main(int argc, char** argv) try {
  AllDocs docs;
  for (int i = 1; i < argc; ++i) {
    const std::string path = argv[i];
    (path.find("/clr/") != std::string::npos ? docs.layer : docs.native).read(path);
  }
  std::map<std::string, std::string> classes;
  Source source;
  for (std::size_t number = 0; number < rows().size(); ++number) {
    const Row& row = rows()[number];
    row.source(source);
    const std::string comment = row.result.empty() ? constructorText(row) : documentation(docs, row);
    classes[row.owner] += methodText(row, number, comment);
  }
  std::string text =
      "// Generated from the table of operations: see binding/abi.\nusing System;\nusing "
      "System.Collections.Generic;\nusing System.Runtime.InteropServices;\n\n"
      "namespace zivra.clr\n{\n    internal static class Schema\n    {\n        internal const ulong Number "
      "= " +
      std::to_string(schemaNumber()) + ";\n    }\n" + faultTexts() + enumTexts(docs, AllEnums());
  for (const auto& [name, methods] : classes)
    text += "    public partial class " + name + "\n    {\n" + methods + "    }\n";
  text += "    internal sealed partial class Call\n    {\n" + source.text() + "    }\n}\n";
  const auto foreign = foreignSummaries(text);
  for (const std::string& line : foreign)
    std::fprintf(stderr, "zivra_clr_gen: words of C++: %s\n", line.c_str());
  if (!foreign.empty()) return 1;
  return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "zivra_clr_gen: %s\n", e.what());
  return 1;
}
