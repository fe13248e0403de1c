// Files to the controller: what is announced, what goes out, and every way in which it can end.
#include <filesystem>
#include <fstream>
#include <future>
#include <sys/stat.h>

#include <zivra/error.h>

#include "network/digest.h"
#include "network/link_fixture.h"
#include "network/xservice/transfer.h"
#include "support/temporary_folder.h"

namespace zivra::test {

namespace {

constexpr std::uint64_t limit = 10'485'760;
const std::string success = "{\"f\":\"success\"}\r", refusal = "{\"f\":\"error\"}\r";

Json::Value description() {
  Json::Value value(Json::objectValue);
  value["file_name"] = "demo";
  value["function"] = "import_project";
  value["overwrite"] = true;
  return value;
}

struct FileLink : testing::Test {
  FileLink() {
    const int little = 65536;  // so that a large file doesn't fit between the two
    ::setsockopt(listener.get(), SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    std::error_code ec;
    service.setEndpoint(peer.address(), RawPeer::port);
    service.start(ec);
    EXPECT_FALSE(ec);
    commands = peer.accept();
    files = acceptFiles();
  }
  ~FileLink() override { service.stop(); }

  RawConnection acceptFiles() {
    EXPECT_TRUE(readable(listener, longestWait)) << "no file link";
    return RawConnection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }
  std::string write(const std::string& bytes, const std::string& name = "file") {
    std::ofstream(folder.path() / name, std::ios::binary) << bytes;
    return (folder.path() / name).string();
  }
  std::future<int> send(const std::string& path, const XService::Progress& progress = {}) {
    return std::async(std::launch::async, [=, this] {
      std::error_code ec = make_error_code(Code::notConnected);
      service.sendFile(path, limit, description(), ec, progress);
      return ec.value();
    });
  }
  // Takes an announcement and answers it with the code.
  void agree(const std::string& value = "0") {
    const auto frame = commands.frame();
    ASSERT_TRUE(frame);
    commands.send("{\"c\":{\"ix.sdk.transferInit\":" + value + "},\"id\":" + idOf(*frame) + "}\r");
  }
  // A whole transfer that goes well.
  void expectGood(const std::string& bytes) {
    auto result = send(write(bytes));
    agree();
    EXPECT_TRUE(files.bytes(bytes.size()) == bytes);
    files.send(success);
    EXPECT_EQ(result.get(), 0);
  }

  TemporaryFolder folder;
  RawPeer peer;
  Descriptor listener = listenOn(peer.address(), XTransfer::port);
  XService service{shortLimits()};
  RawConnection commands, files;
};

TEST(Digest, IsThatOfTheStandard) {
  // RFC 1321, A.5
  EXPECT_EQ(internal::hexText(internal::Md5::of("", 0)), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(internal::hexText(internal::Md5::of("message digest", 14)), "f96b697d7cb7938d525a2f31aaf161d0");
}

TEST_F(FileLink, AnnouncesAndSendsTheBytesAlone) {
  auto result = send(write("abc"));
  const auto frame = commands.frame();
  ASSERT_TRUE(frame);
  const std::string id = idOf(*frame);
  EXPECT_EQ(*frame,
            "{\"c\":{\"ix.sdk.transferInit\":{\"function\":\"import_project\",\"len\":3,"
            "\"md5\":\"900150983cd24fb0d6963f7d28e17f72\",\"name\":\"demo\",\"overwrite\":true}},"
            "\"id\":" +
                id + "}");
  EXPECT_FALSE(readable(Descriptor(::dup(files.fd())), 30ms)) << "sent before the controller agreed";
  commands.send("{\"c\":{\"ix.sdk.transferInit\":0},\"id\":" + id + "}\r");
  EXPECT_EQ(files.bytes(3), "abc");
  files.send(success);
  EXPECT_EQ(result.get(), 0);
  service.stop();
  EXPECT_EQ(files.rest(), "") << "more than the file";
}

TEST_F(FileLink, Acknowledgements) {
  const struct {
    const char* name;
    std::string sent;
    int code;
  } rows[] = {
      {"success", success, 0},
      {"with further members", "{\"a\":1,\"f\":\"success\",\"g\":[]}\r", 0},
      {"refused", refusal, -284},
      {"other words are passed over", "{\"f\":\"later\"}\r" + success, 0},
      {"and so is what isn't understood", "x\r\r[1]\r\"f\"\r7\r{\"f\":1}\r{\"g\":\"success\"}\r" + success,
       0},
      {"the first word counts", success + refusal, 0},
      {"the first word counts, refused", refusal + success, -284},
      {"another word only", "{\"f\":\"later\"}\r", -285},
      {"without an end", "{\"f\":\"success\"}", -285},
      {"none", "", -285},
      {"good again", success, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    service.transfer->setAcknowledgementLimit(row.code == -285 ? 100ms : 300'000ms);
    auto result = send(write("content"));
    agree();
    EXPECT_EQ(files.bytes(7), "content");
    files.send(row.sent);
    EXPECT_EQ(result.get(), row.code);
    if (row.code != -285) continue;
    // What comes late is no word about the next file: that one has a connection of its own.
    files.send(success);
    service.transfer->setAcknowledgementLimit(300'000ms);
    auto next = send(write("other"));
    files = acceptFiles();
    agree();
    EXPECT_EQ(files.bytes(5), "other");
    files.send(refusal);
    EXPECT_EQ(next.get(), -284);
  }
}

TEST_F(FileLink, AWordOnAnEarlierFileIsVoid) {
  files.send(success);
  auto result = send(write("abc"));
  agree();
  files.bytes(3);
  files.send(refusal);
  EXPECT_EQ(result.get(), -284);
}

TEST_F(FileLink, WordsThatComeBeforeTheBytesAreOut) {
  const std::string large(limit, 'x');
  auto result = send(write(large));
  agree();
  ASSERT_EQ(files.bytes(1), "x");  // it has begun, and it doesn't fit between the two
  files.send(success);
  EXPECT_TRUE(files.bytes(limit - 1) == large.substr(1)) << "taken for done before it was sent";
  EXPECT_EQ(result.get(), 0);

  result = send(write(large));
  agree();
  files.bytes(1);
  files.send(refusal);
  EXPECT_EQ(result.get(), -284);
  EXPECT_LT(files.rest().size(), large.size() - 1) << "the rest would be taken for the next file";
  result = send(write("abc"));
  files = acceptFiles();
  agree();
  EXPECT_EQ(files.bytes(3), "abc");
  files.send(success);
  EXPECT_EQ(result.get(), 0);
}

TEST_F(FileLink, RefusalsOfTheAnnouncement) {
  const std::pair<const char*, int> rows[] = {{"-277", -277}, {"5", 5},     {"\"no\"", 257},
                                              {"null", 257},  {"0.5", 257}, {"{}", 257}};
  for (const auto& [answer, code] : rows) {
    auto result = send(write("abc"));
    agree(answer);
    EXPECT_EQ(result.get(), code) << answer;
  }
  auto result = send(write("abc"));
  commands.send("{\"c\":{\"other\":0},\"id\":" + idOf(commands.frame().value_or("")) + "}\r");
  EXPECT_EQ(result.get(), 257);
  service.stop();
  EXPECT_EQ(files.rest(), "") << "bytes that nobody wanted";
}

TEST_F(FileLink, FilesThatCannotBeSent) {
  std::filesystem::create_directory(folder.path() / "folder");
  ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
  const std::pair<std::string, int> rows[] = {
      {write("", "empty"), -283},
      {write(std::string(limit + 1, 'x'), "large"), -283},
      {(folder.path() / "missing").string(), -280},
      {(folder.path() / "folder").string(), -280},
      {(folder.path() / "pipe").string(), -280},
      {"", -280},
  };
  for (const auto& [path, code] : rows) EXPECT_EQ(send(path).get(), code) << path;
  service.stop();
  EXPECT_EQ(commands.rest(), "") << "something was announced";
  EXPECT_EQ(files.rest(), "");
}

TEST_F(FileLink, TheLargestFileIsSent) { expectGood(std::string(limit - 1, 'x') + '\r'); }

TEST_F(FileLink, LostWhileItWaits) {
  for (const bool all : {false, true}) {
    auto result = send(write(std::string(limit, 'x')));
    agree();
    files.bytes(all ? limit : 1);
    files.reset();
    EXPECT_EQ(result.get(), -284);
    files = acceptFiles();  // rebuilt by itself
    EXPECT_TRUE(eventually([&] { return service.transfer->connected(); }));
  }
  auto result = send(write("abc"));
  agree();
  files.bytes(3);
  service.stop();
  EXPECT_EQ(result.get(), -284);
  EXPECT_EQ(send(write("abc")).get(), 256) << "a stopped link stays stopped";
}

TEST_F(FileLink, OneAtATimeAndNotOutOfItsOwnProgress) {
  std::vector<std::uint64_t> done;
  std::error_code inside;
  auto first = send(write(std::string(limit, 'x')), [&](std::uint64_t sent, std::uint64_t total) {
    EXPECT_EQ(total, limit);
    done.push_back(sent);
    service.sendFile("file", limit, description(), inside);
    throw 1;  // nobody's business
  });
  agree();
  files.bytes(limit);
  auto second = send(write("abc", "second"));
  EXPECT_FALSE(commands.frame(30ms)) << "announced while another file was on its way";
  files.send(success);
  agree();
  EXPECT_EQ(files.bytes(3), "abc");
  files.send(success);
  EXPECT_EQ(first.get(), 0);
  EXPECT_EQ(second.get(), 0);
  EXPECT_EQ(inside, std::make_error_code(std::errc::resource_deadlock_would_occur));
  ASSERT_FALSE(done.empty());
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
  EXPECT_EQ(done.back(), limit);
}

TEST(FileLinkAbsent, FailsNothingButFiles) {
  TemporaryFolder folder;
  std::ofstream(folder.path() / "file") << "abc";
  RawPeer peer;
  XService service{shortLimits()};
  std::error_code ec;
  service.sendFile("file", limit, description(), ec);
  EXPECT_EQ(ec, Code::network) << "never connected";
  service.setEndpoint(peer.address(), RawPeer::port);
  service.sendFile("file", limit, description(), ec);
  EXPECT_EQ(ec, Code::network) << "not started";
  service.start(ec);
  EXPECT_FALSE(ec);
  RawConnection commands = peer.accept();
  EXPECT_FALSE(service.transfer->connected());
  service.sendFile("file", limit, description(), ec);
  EXPECT_EQ(ec, Code::network);
  const Descriptor listener = listenOn(peer.address(), XTransfer::port);
  service.transfer->setAcknowledgementLimit(50ms);
  auto result = std::async(std::launch::async, [&] { service.sendFile("file", limit, description(), ec); });
  commands.send("{\"c\":{\"ix.sdk.transferInit\":0},\"id\":" + idOf(commands.frame().value_or("")) + "}\r");
  result.get();
  EXPECT_EQ(ec.value(), -285) << "made as soon as there is one";
}

}  // namespace

}  // namespace zivra::test
