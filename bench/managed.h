// A program of the managed side, which makes the calls that it is told to make and tells how long they took.
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zivra::bench {

class ManagedProgram {
 public:
  /// Starts `program` with the arguments. Throws std::runtime_error if that can't be done.
  ManagedProgram(const std::string& program, const std::vector<std::string>& arguments);
  ~ManagedProgram();
  ManagedProgram(const ManagedProgram&) = delete;
  ManagedProgram& operator=(const ManagedProgram&) = delete;

  /// That many rounds of what the key names: how long each of them took [us]. Throws std::runtime_error if
  /// the program has gone, or takes longer than a minute.
  std::vector<double> run(const char* key, std::size_t rounds);

 private:
  std::string readLine();

  int toProgram_ = -1, fromProgram_ = -1;
  pid_t process_ = -1;
  std::string pending_;
};

}  // namespace zivra::bench
