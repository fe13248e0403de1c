#include <cstring>
#include <gtest/gtest.h>

#include "core/json.h"
#include "network/receive_buffer.h"
#include "network/xservice/routing.h"

namespace zivra::internal {
namespace {

// Feeds the bytes in pieces of at most `step` and collects the frames.
std::vector<std::string> framesOf(ReceiveBuffer& buffer, std::string_view bytes, std::size_t step) {
  std::vector<std::string> frames;
  while (!bytes.empty()) {
    const ReceiveBuffer::Space space = buffer.prepare();
    const std::size_t count = std::min({step, bytes.size(), space.size});
    std::memcpy(space.data, bytes.data(), count);
    bytes.remove_prefix(count);
    buffer.commit(count);
    while (const auto frame = buffer.next()) frames.emplace_back(*frame);
  }
  return frames;
}

TEST(Framing, SameFramesHoweverTheBytesCome) {
  std::string stream;
  std::vector<std::string> expected;
  for (const char* text : {"{\"a\":1,\"id\":1}", "", "x", "half\nline", "{\"n\":{},\"t\":0}"}) {
    stream += text;
    stream += '\r';
    expected.emplace_back(text);
  }
  for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
    ReceiveBuffer buffer('\r');
    auto frames = framesOf(buffer, std::string_view(stream).substr(0, cut), stream.size());
    for (auto& frame : framesOf(buffer, std::string_view(stream).substr(cut), stream.size())) {
      frames.push_back(std::move(frame));
    }
    EXPECT_EQ(frames, expected) << "cut at " << cut;
  }
  ReceiveBuffer bytewise('\r');
  EXPECT_EQ(framesOf(bytewise, stream, 1), expected);
}

TEST(Framing, ThousandsOfFramesAndHugeOnesInTurn) {
  std::string stream;
  std::vector<std::string> expected;
  for (int i = 0; i < 3000; ++i) {
    expected.push_back(i % 1000 == 999 ? std::string(3'000'000, 'x') : std::to_string(i));
    stream += expected.back() + '\r';
  }
  for (const std::size_t step : {std::size_t{1000}, stream.size()}) {
    ReceiveBuffer buffer('\r');
    EXPECT_TRUE(framesOf(buffer, stream, step) == expected) << "in pieces of " << step;
    // The memory of a huge frame is given back.
    EXPECT_LE(buffer.prepare().size, 65536U);
  }
}

TEST(Framing, ClearedHalfFrameDoesNotMeetTheNext) {
  ReceiveBuffer buffer('\r');
  EXPECT_TRUE(framesOf(buffer, "half", 10).empty());
  buffer.clear();
  EXPECT_EQ(framesOf(buffer, "whole\r", 10), std::vector<std::string>{"whole"});
}

TEST(Framing, WithoutMarkWhateverCame) {
  ReceiveBuffer buffer(std::nullopt);
  EXPECT_EQ(framesOf(buffer, "ab\rcd", 3), (std::vector<std::string>{"ab\r", "cd"}));
}

TEST(Routing, EachMessageToItsPlace) {
  struct Case {
    const char* message;
    Destination destination;
    std::uint64_t id;
  };
  const Case cases[] = {
      {R"({"g":{"k":1},"id":7})", Destination::reply, 7},
      {R"({"id":18446744073709551615,"s":{"k":0}})", Destination::reply, 18446744073709551615U},
      {R"({"c":{"k":0},"id":"7"})", Destination::motion, 0},
      {R"({"n":{"move.last_error_with_setting":{}},"t":1})", Destination::motion, 0},
      {R"({"id":3,"n":{"k":1}})", Destination::push, 0},
      {R"({"id":"text","n":{"k":1}})", Destination::push, 0},
      {R"({"n":5,"t":1})", Destination::push, 0},
      {R"({"n":null,"t":1})", Destination::push, 0},
      {R"({"id":5})", Destination::nowhere, 0},
      {R"({"n":{"k":1}})", Destination::nowhere, 0},
      {R"({})", Destination::nowhere, 0},
      {R"({"a":1,"b":2})", Destination::nowhere, 0},
      {R"({"a":1,"id":-1})", Destination::nowhere, 0},
      {R"({"a":1,"id":2.5})", Destination::nowhere, 0},
      {R"({"a":1,"id":null})", Destination::nowhere, 0},
      {R"({"a":1,"id":true})", Destination::nowhere, 0},
      {R"({"a":1,"id":[7]})", Destination::nowhere, 0},
      {R"({"a":1,"id":{"id":7}})", Destination::nowhere, 0},
      {R"([{"g":1},{"id":7}])", Destination::nowhere, 0},
      {R"("text")", Destination::nowhere, 0},
      {R"(7)", Destination::nowhere, 0},
      {R"(null)", Destination::nowhere, 0},
  };
  JsonParser parser;
  for (const Case& c : cases) {
    Json::Value message;
    parser.parse(c.message, message);
    const Route route = routeOf(message);
    EXPECT_EQ(route.destination, c.destination) << c.message;
    EXPECT_EQ(route.id, c.id) << c.message;
  }
}

}  // namespace
}  // namespace zivra::internal
