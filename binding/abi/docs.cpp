#include "abi/docs.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace zivra::clr::abi {
namespace {

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t");
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

void append(std::string& text, const std::string& line) {
  if (!text.empty() && !line.empty()) text += " ";
  text += line;
}

}  // namespace

void Docs::read(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("can't read " + path);
  static const std::regex type(R"(^(class|struct|enum class)\s+(ZIVRA_API\s+)?(\w+)[^;]*$)");
  static const std::regex method(R"((\w+)\()");
  std::string line, owner, comment, declaration;
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
    if (text.empty() || text[0] == '#' || text.rfind("template", 0) == 0) {
      if (text.empty()) comment.clear();
      continue;
    }
    std::string code = text;
    if (const std::size_t mark = text.find("///<"); mark != std::string::npos) {
      append(comment, trimmed(text.substr(mark + 4)));
      code = trimmed(text.substr(0, mark));
    }
    append(declaration, code);
    std::smatch found;
    const bool nested = std::isspace(static_cast<unsigned char>(line[0])) != 0;
    if (std::regex_search(declaration, found, type) && code.find('{') != std::string::npos) {
      const std::string name = found[3];
      texts_[(nested ? owner + "." : "") + name + "::"].push_back({comment, declaration});
      if (!nested) owner = name;
    } else if (code.empty() || (code.back() != ';' && code.back() != '{' && code.back() != '}')) {
      continue;  // goes on in the next line
    } else if (std::regex_search(declaration, found, method)) {
      texts_[owner + "::" + found[1].str()].push_back({comment, declaration});
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
  return std::max_element(found->second.begin(), found->second.end(),
                          [&](const Declared& a, const Declared& b) { return fits(a) < fits(b); })
      ->comment;
}

std::string xml(const std::string& comment) {
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
      default:
        text += one;
    }
  }
  return code ? text + "</c>" : text;
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
      text += !last && std::isupper(static_cast<unsigned char>(name[i + 1]))
                  ? static_cast<char>(one)
                  : static_cast<char>(std::tolower(one));
    } else {
      text += static_cast<char>(one);
    }
  }
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

}  // namespace zivra::clr::abi
