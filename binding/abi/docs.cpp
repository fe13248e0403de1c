#include "abi/docs.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace zivra::clr::abi {
namespace {

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\n");
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// A line begins anew behind an empty one, and where it is the item of a list.
void append(std::string& text, const std::string& line) {
  if (line.empty() || line.rfind("- ", 0) == 0) {
    text += "\n" + line;
  } else {
    if (!text.empty() && text.back() != '\n') text += " ";
    text += line;
  }
}

std::string capital(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

}  // namespace

void Docs::read(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("can't read " + path);
  static const std::regex type(R"(^(class|struct|enum class)\s+(ZIVRA_API\s+)?(\w+))");
  static const std::regex method(R"((\w+)\()");
  std::string line, comment, declaration;
  std::string owner, inner;  // a type, and one inside of it
  while (std::getline(file, line)) {
    const std::string text = trimmed(line);
    if (text.rfind("///", 0) == 0 && text.rfind("///<", 0) != 0) {
      const std::string words = trimmed(text.substr(3));
      // A group's own words aren't those of its first member.
      if (words == "@{" || words == "@}")
        comment.clear();
      else if (words.rfind("@name", 0) != 0)
        append(comment, words);
      continue;
    }
    if (text.empty()) comment.clear();
    if (text.empty() || text[0] == '#' || text.rfind("template", 0) == 0 || text.rfind("// ", 0) == 0)
      continue;
    std::string code = text;
    if (const std::size_t mark = text.find("///<"); mark != std::string::npos) {
      append(comment, trimmed(text.substr(mark + 4)));
      code = trimmed(text.substr(0, mark));
    }
    append(declaration, code);
    std::smatch found;
    const std::size_t indent = line.find_first_not_of(' ');
    if (std::regex_search(declaration, found, type) && code.find('{') != std::string::npos) {
      const std::string name = (indent == 0 ? "" : (indent < 4 ? owner : inner) + ".") + found[3].str();
      texts_[name + "::"].push_back({trimmed(comment), declaration});
      if (indent == 0) owner = name;
      if (indent < 4) inner = name;
    } else if (code.empty() || (code.back() != ';' && code.back() != '{' && code.back() != '}')) {
      continue;  // goes on in the next line
    } else if (std::regex_search(declaration, found, method)) {
      texts_[owner + "::" + found[1].str()].push_back({trimmed(comment), declaration});
    }
    comment.clear();
    declaration.clear();
  }
}

std::string Docs::of(const std::string& owner, const std::string& name,
                     const std::vector<std::string>& words) const {
  const auto found = texts_.find(owner + "::" + name);
  if (found == texts_.end()) return "";
  const auto fits = [&](const Declared& one) {
    return std::count_if(words.begin(), words.end(), [&](const std::string& word) {
      return std::regex_search(one.declaration, std::regex("\\b" + word + "\\b"));
    });
  };
  const auto rank = [&](const Declared& one) {
    return std::tuple(fits(one), !one.comment.empty(),
                      -std::count(one.declaration.begin(), one.declaration.end(), ','));
  };
  return std::max_element(found->second.begin(), found->second.end(),
                          [&](const Declared& a, const Declared& b) { return rank(a) < rank(b); })
      ->comment;
}

std::string inManagedWords(const std::string& comment) {
  static const std::pair<std::regex, const char*> words[] = {
      {std::regex("std::error_code"), "ErrorCode"},
      {std::regex("std::uint64_t"), "ulong"},
      {std::regex("std::string"), "string"},
      {std::regex(R"((\w)::(\w))"), "$1.$2"},
      {std::regex(R"(\ba vector\b)"), "an array"},
      {std::regex(R"(\bvector(s?)\b)"), "array$1"},
      {std::regex("the destructor"), "`Dispose`"},
      {std::regex("resource_deadlock_would_occur"), "the system's code for a deadlock"},
  };
  std::string text = comment;
  for (const auto& [word, managed] : words) text = std::regex_replace(text, word, managed);
  return text;
}

std::vector<std::string> foreignSummaries(const std::string& source) {
  static const std::regex foreign(
      R"(\bstd\b|::|\btemplate|\bT(:| as | and )|\bnoexcept|\bvector|\bnullptr|\bconst\b|size_t|\bstruct\b)"
      R"(|destructor|would_occur|(Network|Protocol|Execution|Realtime\w*)Exception|@\w)");
  std::vector<std::string> found;
  std::istringstream lines(source);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("/// <summary>") != std::string::npos && std::regex_search(line, foreign))
      found.push_back(trimmed(line));
  }
  return found;
}

std::string xml(const std::string& comment, const std::vector<std::string>& parameters) {
  std::string text;
  bool code = false;
  for (const char one : comment) {
    switch (one) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '`':
        text += code ? "</c>" : "<c>";
        code = !code;
        break;
      case '\n':
        text += "<br/>";
        break;
      default:
        text += one;
    }
  }
  if (code) text += "</c>";
  for (const std::string& name : parameters)
    text = std::regex_replace(text, std::regex("<c>" + name + "</c>"), "<paramref name=\"" + name + "\"/>");
  static const std::regex exception(R"(\b[A-Z]\w*Exception\b)");
  return std::regex_replace(text, exception, "<see cref=\"$&\"/>");
}

std::string wordsOf(const std::string& name) {
  std::string text;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto one = static_cast<unsigned char>(name[i]);
    const bool last = i + 1 == name.size();
    if (one == '_') {
      text += ' ';
    } else if (i > 0 && std::isupper(one) &&
               (std::islower(static_cast<unsigned char>(name[i - 1])) ||
                (!last && std::islower(static_cast<unsigned char>(name[i + 1]))))) {
      text += ' ';
      text += last || std::isupper(static_cast<unsigned char>(name[i + 1]))
                  ? static_cast<char>(one)
                  : static_cast<char>(std::tolower(one));
    } else {
      text += static_cast<char>(one);
    }
  }
  return capital(text);
}

std::string memberWords(const std::string& comment, const std::string& member) {
  std::smatch found;
  const std::regex told("`" + member + "` ([^,.;:`]+)");
  return capital(std::regex_search(comment, found, told) ? trimmed(found[1]) : wordsOf(member)) + ".";
}

}  // namespace zivra::clr::abi
