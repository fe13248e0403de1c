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

std::string describeRows() {
  Source source;
  std::string text;
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
