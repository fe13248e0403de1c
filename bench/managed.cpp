#include "managed.h"

#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace zivra::bench {

namespace {

constexpr char answerMark = '=';
constexpr int answerLimitMs = 60'000, endLimitMs = 5'000;

}  // namespace

ManagedProgram::ManagedProgram(const std::string& program, const std::vector<std::string>& arguments) {
  int in[2], out[2];
  if (::pipe2(in, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  if (::pipe2(out, O_CLOEXEC) != 0) {
    ::close(in[0]);
    ::close(in[1]);
    throw std::runtime_error("no pipe");
  }
  toProgram_ = in[1];
  fromProgram_ = out[0];
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& one : arguments) words.push_back(const_cast<char*>(one.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  const int failed = ::posix_spawn(&process_, program.c_str(), &actions, nullptr, words.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]);
  ::close(out[1]);
  if (failed == 0) return;
  ::close(toProgram_);
  ::close(fromProgram_);
  throw std::runtime_error("can't start " + program);
}

ManagedProgram::~ManagedProgram() {
  ::close(toProgram_);  // tells it to end
  pollfd ended{fromProgram_, POLLIN, 0};
  if (::poll(&ended, 1, endLimitMs) <= 0) ::kill(process_, SIGKILL);
  ::close(fromProgram_);
  ::waitpid(process_, nullptr, 0);
}

std::vector<double> ManagedProgram::run(const char* key, std::size_t rounds) {
  const std::string order = fmt::format("{} {}\n", key, rounds);
  if (::write(toProgram_, order.data(), order.size()) != static_cast<ssize_t>(order.size()))
    throw std::runtime_error("the managed program has gone");
  std::string line = readLine();
  while (line.empty() || line.front() != answerMark) line = readLine();  // the library logs there as well
  std::vector<double> us;
  us.reserve(rounds);
  const char* at = line.data() + 1;
  const char* const end = line.data() + line.size();
  for (std::int64_t ns = 0; at != end; at += at != end) {
    const auto read = std::from_chars(at, end, ns);
    if (read.ec != std::errc{}) throw std::runtime_error("the managed program says: " + line);
    at = read.ptr;
    us.push_back(static_cast<double>(ns) * 1e-3);
  }
  if (us.size() != rounds) throw std::runtime_error("the managed program has left rounds out");
  return us;
}

std::string ManagedProgram::readLine() {
  for (;;) {
    const std::size_t end = pending_.find('\n');
    if (end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return line;
    }
    pollfd readable{fromProgram_, POLLIN, 0};
    char buffer[65536];
    const ssize_t got =
        ::poll(&readable, 1, answerLimitMs) > 0 ? ::read(fromProgram_, buffer, sizeof buffer) : 0;
    if (got <= 0) throw std::runtime_error("the managed program has gone, or stands still");
    pending_.append(buffer, static_cast<std::size_t>(got));
  }
}

}  // namespace zivra::bench
