// The upgrade service's bytes without a network: chunks, files and answers cut in every way, and hostile
// ones.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "core/json_text.h"
#include "support/temporary_folder.h"
#include "upgrade/backup_stream.h"
#include "upgrade/chunk_reader.h"
#include "upgrade/packets.h"
#include "upgrade/spelled_packets.h"
#include "upgrade/store_file.h"

namespace zivra::test {

namespace {

using internal::BackupStream;
using State = BackupStream::State;

struct Received {
  State state = State::incomplete;
  std::string file;
  bool operator==(const Received&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Received& r) {
  return out << static_cast<int>(r.state) << ' ' << r.file;
}

// Reads the stream as it comes in pieces of the given size.
Received receive(const std::string& stream, std::size_t piece, internal::ReceptionBuffer& buffer) {
  internal::ChunkReader reader;
  BackupStream backup(buffer);
  Received result;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    reader.append(std::string_view(stream).substr(at, piece));
    while (const auto chunk = reader.next()) {
      result.state = backup.take(*chunk);
      if (result.state == State::incomplete) continue;
      if (result.state == State::complete) result.file = backup.file().value_or("broken");
      return result;
    }
  }
  return result;
}

TEST(Chunks, AreCutAtEveryOffset) {
  internal::ReceptionBuffer buffer(4096);
  const std::string name = "./backup.zip", file = std::string("some\0content", 12) + "\r\n\xff";
  const std::string packet = packetOf(1, filePayload(name, file));
  const Received whole{State::complete, file};
  for (std::size_t size = 1; size <= packet.size(); ++size)
    for (std::size_t piece = 1; piece <= packet.size() + 2; ++piece)
      ASSERT_EQ(receive(chunked(packet, size), piece, buffer), whole) << size << " in pieces of " << piece;
  // Two chunks, and empty ones between them.
  for (std::size_t cut = 0; cut <= packet.size(); ++cut) {
    const std::string stream = std::string(2, '\0') + chunked(packet.substr(0, cut)) + std::string(4, '\0') +
                               chunked(packet.substr(cut));
    for (const std::size_t piece : {1, 2, 3, 1000})
      ASSERT_EQ(receive(stream, piece, buffer), whole) << cut << " in pieces of " << piece;
    EXPECT_EQ(receive(chunked(packet.substr(0, cut)), 1000, buffer).state,
              cut < packet.size() ? State::incomplete : State::complete);
  }
}

TEST(BackupFiles, HostileAndOdd) {
  internal::ReceptionBuffer buffer(1000);
  const std::string good = filePayload("n", "content");
  std::string wrongDigest = good;
  wrongDigest[5] ^= 1;
  const auto withSize = [&](std::size_t size) { return bigEndian(size, 4) + packetOf(1, good).substr(4); };
  const auto withName = [&](std::size_t size) {
    return good.substr(0, 19) + bigEndian(size, 2) + good.substr(21);
  };
  const struct {
    const char* name;
    std::string packet;
    Received expected;
  } rows[] = {
      {"good", packetOf(1, good), {State::complete, "content"}},
      {"more than it said", packetOf(1, good) + "more", {State::complete, "content"}},
      {"no name", packetOf(1, filePayload("", "content")), {State::complete, "content"}},
      {"a long name",
       packetOf(1, filePayload(std::string(400, 'n'), "content")),
       {State::complete, "content"}},
      {"an empty file", packetOf(1, filePayload("n", "")), {State::complete, ""}},
      {"another digest", packetOf(1, wrongDigest), {State::complete, "broken"}},
      {"JSON", packetOf(2, good), {State::otherPacket, ""}},
      {"type 0", packetOf(0, good), {State::otherPacket, ""}},
      {"no payload", packetOf(1, ""), {State::broken, ""}},
      {"no room for a head", withSize(20), {State::broken, ""}},
      {"a name longer than all", packetOf(1, withName(9)), {State::broken, ""}},
      {"the longest name", packetOf(1, withName(0xffff)), {State::broken, ""}},
      {"just too large", withSize(1000 - 6 + 1), {State::broken, ""}},
      {"the largest", withSize(0xffffffff), {State::broken, ""}},
      {"just fits, and isn't there", withSize(1000 - 6), {State::incomplete, ""}},
      {"chunks beyond the buffer", packetOf(1, good) + std::string(1000, 'x'), {State::broken, ""}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(receive(chunked(row.packet), 1 << 20, buffer), row.expected) << row.name;
}

TEST(BackupFiles, WithoutAddressSpaceNothingIsTaken) {
  internal::ReceptionBuffer buffer(~std::size_t{0} / 2);
  EXPECT_EQ(receive(chunked(packetOf(1, filePayload("n", "x"))), 100, buffer).state, State::broken);
}

TEST(Answers, WholeOrNull) {
  const std::string good = packetOf(2, "{\"a\":1}\n");
  const std::pair<std::string, const char*> rows[] = {
      {good, "{\"a\":1}"},
      {packetOf(1, "[1]"), "[1]"},  // the type isn't looked at
      {good + "more", "{\"a\":1}"},
      {good.substr(0, good.size() - 1), "null"},
      {good.substr(0, 5), "null"},
      {"", "null"},
      {bigEndian(0xffffffff, 4) + good.substr(4), "null"},
      {packetOf(2, ""), "null"},
      {packetOf(2, "{\"a\":"), "null"},
      {packetOf(2, std::string(5000, '[')), "null"},
  };
  for (const auto& [chunk, expected] : rows) {
    std::string text;
    internal::appendJson(text, internal::answerOf(chunk));
    EXPECT_EQ(text, expected) << chunk.size();
  }
}

struct Stored : testing::Test {
  std::string read(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  std::size_t entries() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
  }
  TemporaryFolder folder;
};

TEST_F(Stored, ReplacesWholeFilesOnly) {
  const mode_t before = ::umask(077);
  EXPECT_TRUE(internal::storeFile("new", "one"));
  ::umask(before);
  EXPECT_EQ(std::filesystem::status("new").permissions(), std::filesystem::perms(0600));
  EXPECT_TRUE(internal::storeFile("new", "two"));
  EXPECT_EQ(read("new"), "two");
  std::filesystem::permissions("new", std::filesystem::perms::owner_all);
  std::filesystem::create_symlink("new", "link");
  EXPECT_TRUE(internal::storeFile("link", "three"));
  EXPECT_EQ(read("new"), "three");
  EXPECT_TRUE(std::filesystem::is_symlink("link"));
  EXPECT_EQ(std::filesystem::status("new").permissions(), std::filesystem::perms::owner_all);
  std::filesystem::create_directory("folder");
  std::filesystem::create_directory("folder/inner");
  for (const char* path : {"folder", "missing/file", "", "new/file", "/dev/null"})
    EXPECT_FALSE(internal::storeFile(path, "four")) << path;
  if (::geteuid() != 0) {  // who may do everything
    std::filesystem::permissions("new", std::filesystem::perms::owner_read);
    EXPECT_FALSE(internal::storeFile("new", "four"));
  }
  EXPECT_EQ(entries(), 3u) << "something was left behind";
}

}  // namespace

}  // namespace zivra::test
