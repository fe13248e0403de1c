// What messages of the controller's, of any shape, are taken for.
#include "motion_control/move_notice.h"

#include <gtest/gtest.h>
#include <string>

#include "core/json.h"
#include "motion_control/notification_queue.h"

namespace zivra::internal {
namespace {

Json::Value message(const std::string& text) {
  Json::Value value;
  JsonParser parser;
  EXPECT_TRUE(parser.parse(text, value)) << text;
  return value;
}

std::string news(const std::string& note) {
  return R"({"n":{"move.last_error_with_setting":)" + note + R"(},"x":0})";
}

struct NewsRow {
  const char* note;
  int error;
  const char* cmdID;
  const char* custom;
  int point;
  bool reach;
  int remark;  // code whose text it is; 1: empty
  bool wipe, finished, notify;
};

TEST(MoveNotice, News) {
  const NewsRow rows[] = {
      {R"({"data":{"id":"l#1","point":2,"msg":"moving"}})", 0, "l#1", "", 2, false, 1, false, false, false},
      {R"({"data":{"id":"l#1","point":2,"msg":"finish"}})", 0, "l#1", "", 2, true, 1, false, true, true},
      {R"({"error":0,"data":{"id":"l#1*a*b","point":0,"msg":"finish"}})", 0, "l#1", "a*b", 0, true, 1, false,
       true, true},
      {R"({"data":{"id":"l#1","msg":"finish:-50027"}})", 0, "l#1", "", 0, true, -50027, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish: -50027 and more"}})", 0, "l#1", "", 0, true, -50027, false, true,
       true},
      {R"({"data":{"id":"l#1","msg":"x:-50027 finish"}})", 0, "l#1", "", 0, true, -50027, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish:+263"}})", 0, "l#1", "", 0, true, 263, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish:"}})", 0, "l#1", "", 0, true, 1, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish:soon"}})", 0, "l#1", "", 0, true, 1, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish:+-3"}})", 0, "l#1", "", 0, true, 1, false, true, true},
      {R"({"data":{"id":"l#1","msg":"finish:99999999999999999999"}})", 0, "l#1", "", 0, true, 1, false, true,
       true},
      {R"({"data":{"id":"l#1","msg":"x:-50027"}})", 0, "l#1", "", 0, false, 1, false, false, false},
      {R"({"data":{"id":"l#1","msg":"finis"}})", 0, "l#1", "", 0, false, 1, false, false, false},
      // whose move: "#" counts wherever it stands
      {R"({"data":{"id":"other","msg":"finish"}})", 0, "other", "", 0, true, 1, false, false, true},
      {R"({"data":{"id":"other*#","msg":"finish"}})", 0, "other", "#", 0, true, 1, false, true, true},
      {R"({"data":{"id":"*l#1","msg":"finish"}})", 0, "", "l#1", 0, true, 1, false, true, true},
      // errors
      {R"({"error":-50002,"data":{"id":"l#1","point":3,"msg":"no"}})", -50002, "l#1", "", 3, false, 1, true,
       false, true},
      {R"({"error":-50002,"data":{"id":"l#1","msg":"finish"}})", -50002, "l#1", "", 0, true, 1, true, false,
       true},
      {R"({"error":-1,"data":{"id":"l#1","msg":"ik"}})", -33, "l#1", "", 0, false, 1, true, false, true},
      {R"({"error":-1,"data":{"id":"l#1","msg":"stopped"}})", 0, "l#1", "", 0, false, 1, true, false, false},
      {R"({"error":-257,"data":{"id":"l#1","msg":"stopped"}})", 0, "l#1", "", 0, false, 1, true, false,
       false},
      {R"({"error":-257,"data":{"id":"l#1","msg":"finish"}})", 0, "l#1", "", 0, true, 1, true, false, true},
      {R"({"data":{"id":"l#1","msg":"ik"}})", -32, "l#1", "", 0, false, 1, true, false, true},
      {R"({"error":32,"data":{"id":"l#1","msg":"ik"}})", 0, "l#1", "", 0, false, 1, false, false, false},
      // edges of the range
      {R"({"error":-2147483648,"data":{"id":"l#1","msg":"ik"}})", -2147483647 - 1, "l#1", "", 0, false, 1,
       true, false, true},
      {R"({"error":2147483647,"data":{"id":"l#1","point":2147483647}})", 2147483647, "l#1", "", 2147483647,
       false, 1, true, false, true},
      {R"({"error":4294967295,"data":{"point":4294967296}})", 257, "", "", 0, false, 1, true, false, true},
      {R"({"error":18446744073709551615})", 257, "", "", 0, false, 1, true, false, true},
      // other shapes: defaults, but an error that can't be read stays one
      {R"({"error":"bad","data":{"id":"l#1"}})", 257, "l#1", "", 0, false, 1, true, false, true},
      {R"({"error":null,"data":{"id":5,"point":"x","msg":{}}})", 0, "", "", 0, false, 1, false, false, false},
      {R"({"data":[1,2]})", 0, "", "", 0, false, 1, false, false, false},
      {R"([])", 0, "", "", 0, false, 1, false, false, false},
      {R"("finish")", 0, "", "", 0, false, 1, false, false, false},
      {R"(null)", 0, "", "", 0, false, 1, false, false, false},
  };
  for (const NewsRow& row : rows) {
    const auto notice = readNotice(message(news(row.note)));
    ASSERT_TRUE(notice) << row.note;
    EXPECT_EQ(notice->kind, MoveNotice::Kind::news);
    const MoveVerdict verdict = judgeNews(*notice);
    EXPECT_EQ(verdict.event.error, std::error_code(row.error, category())) << row.note;
    EXPECT_EQ(verdict.event.cmdID, row.cmdID) << row.note;
    EXPECT_EQ(verdict.event.customInfo, row.custom) << row.note;
    EXPECT_EQ(verdict.event.wayPointIndex, row.point) << row.note;
    EXPECT_EQ(verdict.event.reachTarget, row.reach) << row.note;
    EXPECT_EQ(verdict.event.remark, row.remark == 1 ? "" : category().message(row.remark)) << row.note;
    EXPECT_EQ(verdict.wipe, row.wipe) << row.note;
    EXPECT_EQ(verdict.finished, row.finished) << row.note;
    EXPECT_EQ(verdict.notify, row.notify) << row.note;
  }
}

struct ReplyRow {
  const char* text;
  std::vector<int> refusals;
  const char* cmdID;
  const char* custom;
};

TEST(MoveNotice, Replies) {
  const ReplyRow rows[] = {
      {R"({"c":{"move.l":-3},"id":"l#1"})", {-3}, "l#1", ""},
      {R"({"c":{"move.l":-20},"id":"l#1*a*b"})", {-20}, "l#1", "a*b"},
      {R"({"c":{"a":-17,"b":0,"c":-16},"id":"l#1"})", {-17, -16}, "l#1", ""},
      {R"({"c":{"a":-17},"id":7})", {-17}, "", ""},
      {R"({"c":{"move.l":0},"id":"l#1"})", {}, "", ""},
      {R"({"c":{"move.l":-2},"id":"l#1"})", {}, "", ""},
      {R"({"c":{"move.l":-21},"id":"l#1"})", {}, "", ""},
      {R"({"c":{"move.l":-3.0},"id":"l#1"})", {}, "", ""},
      {R"({"c":{"move.l":"-3"},"id":"l#1"})", {}, "", ""},
      {R"({"c":{"move.l":18446744073709551613},"id":"l#1"})", {}, "", ""},
      {R"({"c":{},"id":"l#1"})", {}, "", ""},
      // with an object "c" it is a reply, whatever else it holds
      {R"({"c":{"a":-3},"id":"l#1","n":{"move.last_error_with_setting":{"error":-5}}})", {-3}, "l#1", ""},
  };
  for (const ReplyRow& row : rows) {
    const auto notice = readNotice(message(row.text));
    ASSERT_EQ(notice.has_value(), !row.refusals.empty()) << row.text;
    if (!notice) continue;
    EXPECT_EQ(notice->kind, MoveNotice::Kind::reply);
    EXPECT_EQ(notice->refusals, row.refusals) << row.text;
    const MoveEvent event = refusalEvent(*notice, row.refusals[0]);
    EXPECT_EQ(event.error, std::error_code(row.refusals[0], category()));
    EXPECT_EQ(event.cmdID, row.cmdID);
    EXPECT_EQ(event.customInfo, row.custom);
    EXPECT_FALSE(event.reachTarget);
  }
  for (const char* text : {R"({"c":-3,"id":"l#1"})", R"({"id":"l#1","g":{}})", "[1,2]", "3", "null"}) {
    const auto notice = readNotice(message(text));
    ASSERT_TRUE(notice) << text;
    EXPECT_EQ(judgeNews(*notice).event.cmdID, "") << text;
    EXPECT_FALSE(judgeNews(*notice).wipe) << text;
  }
}

MoveNotice noticeOf(const char* msg, std::string id = "l#1") {
  MoveNotice notice;
  notice.msg = msg;
  notice.id = std::move(id);
  return notice;
}

TEST(NotificationQueue, FloodCostsProgressFirstThenTheOldest) {
  NotificationQueue queue;
  int told = 0;
  EXPECT_FALSE(queue.push(noticeOf("finish", "first")));
  for (std::size_t i = 0; i < 2 * NotificationQueue::maxNotices; ++i) told += queue.push(noticeOf("moving"));
  EXPECT_EQ(queue.size(), NotificationQueue::maxNotices);
  told += queue.push(noticeOf("finish", "second"));
  EXPECT_EQ(queue.size(), 2u);
  for (std::size_t i = 0; i < NotificationQueue::maxNotices; ++i)
    told += queue.push(noticeOf("finish", "later"));
  EXPECT_EQ(told, 1);

  std::stop_source stop;
  std::deque<MoveNotice> taken;
  ResetStamp stamp;
  ASSERT_TRUE(queue.take(stop.get_token(), taken, stamp));
  EXPECT_EQ(taken.size(), NotificationQueue::maxNotices);
  EXPECT_EQ(taken.front().id, "later");
  EXPECT_TRUE(stamp.current());
  queue.clear();
  EXPECT_FALSE(stamp.current());
  stop.request_stop();
  EXPECT_FALSE(queue.take(stop.get_token(), taken, stamp));
}

TEST(NotificationQueue, HugeTextsAreBoundedByTheirBytes) {
  NotificationQueue queue;
  const std::string huge(NotificationQueue::maxBytes / 4, 'x');
  for (int i = 0; i < 20; ++i) queue.push(noticeOf("finish", huge));
  EXPECT_LE(queue.size(), 4u);
  EXPECT_GE(queue.size(), 3u);
}

}  // namespace
}  // namespace zivra::internal
