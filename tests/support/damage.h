// A JSON text with one thing wrong with it, in all the ways there are.
#pragma once

#include <string>
#include <vector>

namespace zivra::test {

// What was done, and what came of it. The names:
//   -/a      the member is gone
//   /a=text  the value is replaced by one of another type (null, bool, int, real, text, array, object)
//   </a      the array's last element is gone, and << all of them
//   >/a      the array has one more element
// The path of the whole value is empty; elements are numbered from 0.
struct Damage {
  std::string name;
  std::string json;
};

std::vector<Damage> damagesOf(const std::string& json);

// True if one of the blank-separated patterns ("-/elb /conf=* >*") fits the name.
bool matchesAny(const std::string& name, const std::string& patterns);

}  // namespace zivra::test
