#include "abi/registry.h"

namespace zivra::clr::abi {

const std::vector<Row>& rows() {
  static const std::vector<Row>& all = *[] {
    auto* joined = new std::vector<Row>;
    for (auto family :
         {rowsOfBaseRobot, rowsOfServices, rowsOfCobot, rowsOfRobots, rowsOfForceControl, rowsOfDevices}) {
      for (Row& row : family()) joined->push_back(std::move(row));
    }
    return joined;
  }();
  return all;
}

std::vector<std::pair<std::string, int>> faultNumbers() {
  std::vector<std::pair<std::string, int>> all(EnumInfo<Fault>::members.begin(),
                                               EnumInfo<Fault>::members.end());
  all.insert(all.end(),
             {{"disposed", kDisposed}, {"foreignHandle", kForeignHandle}, {"badMessage", kBadMessage}});
  return all;
}

namespace {

template <class... E>
std::string describeEnums(EnumList<E...>) {
  std::string text;
  const auto add = [&](const char* name, const auto& members) {
    text += name;
    for (const auto& [member, number] : members)
      text += " " + std::string(member) + " " + std::to_string(number);
    text += "\n";
  };
  (add(EnumInfo<E>::name, EnumInfo<E>::members), ...);
  add("faults", faultNumbers());
  return text;
}

}  // namespace

std::string describeRows() {
  Source source;
  std::string text = "form " + std::to_string(formVersion) + "\n" + describeEnums(AllEnums());
  for (const Row& row : rows()) {
    row.source(source);
    text += std::string(row.owner) + "." + row.name + " " + row.result;
    for (const ParameterText& one : row.parameters)
      text += " " + std::to_string(static_cast<int>(one.way)) + one.type + " " + one.put;
    text += "\n";
  }
  return text + source.text();
}

std::uint64_t schemaNumber() {
  std::uint64_t number = 14695981039346656037u;  // FNV-1a
  for (const char one : describeRows()) number = (number ^ static_cast<unsigned char>(one)) * 1099511628211u;
  return number;
}

}  // namespace zivra::clr::abi
