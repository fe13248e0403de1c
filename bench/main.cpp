// Prints what the library costs beside what bare sockets cost in the same run. Asserts nothing.
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "bench.h"

namespace {

void usage() {
  std::puts(
      "usage: zivra-bench [--quick] [--memory | --stream | --files | --binding [PROGRAM]]\n"
      "Measures the library against bare sockets on loopback (127.60.0.1), pinned to one core, and prints a "
      "table.\n"
      "  --quick   a tenth of the time, coarser figures\n"
      "  --memory  resident memory only; the whole run does this first, in a process of its own\n"
      "  --stream  the state stream only: a minute at 1 kHz, with --quick 3 s\n"
      "  --files   transfers of files and packages only\n"
      "  --binding the layers of the .NET binding only, each call beside the same one in C++; with PROGRAM "
      "also "
      "the\n"
      "            .NET side, which the build target zivra_dotnet_bench builds and runs this way");
}

}  // namespace

int main(int argc, char** argv) try {
  using namespace zivra::bench;
  bool quick = false;
  bool memoryOnly = false;
  bool streamOnly = false;
  bool filesOnly = false;
  [[maybe_unused]] bool bindingOnly = false;
  std::string managedProgram;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--quick") == 0) {
      quick = true;
    } else if (std::strcmp(argv[i], "--memory") == 0) {
      memoryOnly = true;
    } else if (std::strcmp(argv[i], "--stream") == 0) {
      streamOnly = true;
    } else if (std::strcmp(argv[i], "--files") == 0) {
      filesOnly = true;
#ifdef ZIVRA_BENCH_BINDING
    } else if (std::strcmp(argv[i], "--binding") == 0) {
      bindingOnly = true;
      if (i + 1 < argc && argv[i + 1][0] != '-') managedProgram = std::filesystem::absolute(argv[++i]);
#endif
    } else {
      usage();
      return std::strcmp(argv[i], "--help") == 0 ? 0 : 2;
    }
  }
  // Logs go where nobody minds them.
  const auto folder = std::filesystem::temp_directory_path() / ("zivra-bench-" + std::to_string(::getpid()));
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  std::filesystem::create_directories(folder);
  std::filesystem::current_path(folder);

  pinToOneCore(true);
  Table table;
  if (memoryOnly) {
    const Peer peer("127.60.0.2");
    memory(peer, table);
    filesMemory(peer, table);
  } else if (streamOnly) {
    const Peer peer("127.60.0.1");
    stateStream(peer, table, quick ? 3.0 : 60.0);
  } else if (filesOnly) {
    const Peer peer("127.60.0.1");
    files(peer, table, quick);
#ifdef ZIVRA_BENCH_BINDING
  } else if (bindingOnly) {
    const Peer peer("127.61.0.1");
    binding(peer, managedProgram, quick);
#endif
  } else {
    std::fflush(stdout);
    if (std::system(("'" + program.string() + "' --memory").c_str()) != 0) std::puts("memory: not measured");
    const Peer peer("127.60.0.1");
    roundTrips(peer, table, quick ? 1.0 : 12.0);
    manyExchanges(peer, table, quick ? 100'000 : 1'000'000);
    moveBatches(peer, table);
    connections(peer, table);
    linkLoss(peer, table);
    idleLink(peer, table);
    stateStream(peer, table, quick ? 3.0 : 60.0);
    files(peer, table, quick);
#ifdef ZIVRA_BENCH_BINDING
    binding(peer, "", quick);
#endif
  }
  std::filesystem::current_path("/");
  std::filesystem::remove_all(folder);
  return 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "zivra-bench: %s\n", e.what());
  return 1;
}
