#include "network/send_queue.h"

#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <sys/socket.h>
#include <thread>

#include "support/raw_peer.h"

namespace zivra::internal {
namespace {

using test::Descriptor;
using test::RawConnection;

struct SendQueueTest : ::testing::Test {
  SendQueueTest() {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    mine = Descriptor(ends[0]);
    peer = RawConnection(ends[1]);
    queue.open(mine.get(), 1);
  }

  SendResult send(std::string frame, std::uint64_t generation = 1, bool atOnce = true) {
    return queue.send(std::move(frame), generation, atOnce).result;
  }
  // Sends numbered frames until one stays in the queue; gives the number of frames. The last is cut in two by
  // the full socket, or not begun.
  int fill() {
    const std::string body(1000, 'f');
    for (int i = 1;; ++i) {
      if (queue.send(std::to_string(i) + body + '\r', 1, true).wakeNetworkThread) return i;
    }
  }
  std::string drained() {
    std::string bytes;
    while (queue.flush() != SendQueue::Flush::done) {
      char some[65536];
      const ssize_t got = ::recv(peer.fd(), some, sizeof some, 0);
      if (got <= 0) break;
      bytes.append(some, static_cast<std::size_t>(got));
    }
    mine.reset();
    return bytes + peer.rest();
  }

  Descriptor mine;
  RawConnection peer;
  SendQueue queue{1 << 20, '\r'};
};

TEST_F(SendQueueTest, OrderHoldsThroughAFullSocket) {
  const int filled = fill();
  EXPECT_EQ(queue.flush(), SendQueue::Flush::full);
  for (const char* frame : {"a\r", "b\r", "c\r"}) EXPECT_EQ(send(frame), SendResult::accepted);
  const std::string bytes = drained();
  EXPECT_EQ(bytes.substr(bytes.size() - 6), "a\rb\rc\r");
  std::size_t begin = 0;
  for (int i = 1; i <= filled; ++i) {
    const std::string expected = std::to_string(i) + std::string(1000, 'f') + '\r';
    ASSERT_EQ(bytes.substr(begin, expected.size()), expected);
    begin += expected.size();
  }
}

TEST_F(SendQueueTest, EachThreadsFramesStayInOrderAndWhole) {
  constexpr int threads = 8;
  constexpr int perThread = 2000;
  std::atomic<bool> sent{false};
  std::thread network([&] {
    while (!sent) queue.flush();
    while (queue.flush() != SendQueue::Flush::done) std::this_thread::yield();
    mine.reset();
  });
  std::vector<std::thread> senders;
  for (int t = 0; t < threads; ++t) {
    senders.emplace_back([&, t] {
      for (int i = 0; i < perThread; ++i) {
        while (send(std::to_string(t) + ":" + std::to_string(i) + '\r', 1, i % 2 == 0) !=
               SendResult::accepted) {
        }
      }
    });
  }
  std::map<int, int> next;
  std::thread reader([&] {
    while (const auto frame = peer.frame()) {
      const auto colon = frame->find(':');
      ASSERT_NE(colon, std::string::npos) << *frame;
      EXPECT_EQ(std::stoi(frame->substr(colon + 1)), next[std::stoi(*frame)]++) << *frame;
    }
  });
  for (auto& sender : senders) sender.join();
  sent = true;
  network.join();
  reader.join();
  for (int t = 0; t < threads; ++t) EXPECT_EQ(next[t], perThread);
}

TEST_F(SendQueueTest, WithdrawnFramesNeverGoOut) {
  const int filled = fill();
  EXPECT_EQ(queue.flush(), SendQueue::Flush::full);
  const auto first = queue.send("first\r", 1, false);
  const auto second = queue.send("second\r", 1, false);
  const auto third = queue.send("third\r", 1, false);
  queue.withdraw(second.ticket);
  queue.withdraw(second.ticket);
  queue.withdraw(third.ticket + 1);
  queue.withdraw(first.ticket - static_cast<std::uint64_t>(filled));  // long written
  const std::string bytes = drained();
  EXPECT_EQ(bytes.substr(bytes.size() - 12), "first\rthird\r");
  EXPECT_EQ(bytes.find("second"), std::string::npos);
}

TEST_F(SendQueueTest, WithdrawnFrameThatIsHalfOutIsEndedThere) {
  const auto huge = queue.send("{" + std::string(900'000, 'h') + "}\r", 1, true);
  ASSERT_TRUE(huge.wakeNetworkThread);
  EXPECT_EQ(queue.flush(), SendQueue::Flush::full);
  queue.withdraw(huge.ticket);
  EXPECT_EQ(send("next\r"), SendResult::accepted);
  const std::string bytes = drained();
  EXPECT_LT(bytes.size(), 900'000U);
  EXPECT_EQ(bytes.substr(bytes.size() - 7), "h\rnext\r");
}

TEST_F(SendQueueTest, QueuedFramesDieWithTheirConnection) {
  fill();
  EXPECT_EQ(send("late\r"), SendResult::accepted);
  queue.close();
  EXPECT_EQ(send("none"), SendResult::refused);
  EXPECT_EQ(queue.flush(), SendQueue::Flush::done);

  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  mine = Descriptor(ends[0]);
  peer = RawConnection(ends[1]);
  queue.open(mine.get(), 2);
  EXPECT_EQ(send("of the first\r", 1), SendResult::refused);
  EXPECT_EQ(send("of the second\r", 2), SendResult::accepted);
  EXPECT_EQ(drained(), "of the second\r");
}

TEST_F(SendQueueTest, RefusesWhatCanNotGoOut) {
  std::atomic<std::uint64_t> epoch{3};
  EXPECT_EQ(queue.send("x\r", 1, true, {&epoch, 2}).result, SendResult::gateShut);
  EXPECT_EQ(queue.send("y\r", 1, true, {&epoch, 3}).result, SendResult::accepted);
  EXPECT_EQ(peer.frame(), "y");

  fill();
  int taken = 0;
  while (send(std::string(100'000, 'z')) == SendResult::accepted) ASSERT_LT(++taken, 100);
  EXPECT_GE(taken, 10);  // about the bound of 1 MiB

  peer.close();
  queue.flush();
  EXPECT_EQ(send("to nobody"), SendResult::refused);
}

TEST_F(SendQueueTest, CloseWaitsForTheWriteUnderWay) {
  for (int round = 0; round < 50; ++round) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    Descriptor socket(ends[0]);
    Descriptor other(ends[1]);
    SendQueue raced(1 << 20, '\r');
    raced.open(socket.get(), 1);
    std::thread sender([&] {
      while (raced.send("frame\r", 1, true).result == SendResult::accepted) {
      }
    });
    std::thread flusher([&] { raced.flush(); });
    flusher.join();
    raced.close();
    // Nobody may use the descriptor's number any more, whoever has it now.
    socket.reset();
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    Descriptor heir(ends[0]);
    RawConnection heirsPeer(ends[1]);
    sender.join();
    EXPECT_EQ(raced.send("frame\r", 1, true).result, SendResult::refused);
    heir.reset();
    EXPECT_EQ(heirsPeer.rest(), "");
  }
}

}  // namespace
}  // namespace zivra::internal
