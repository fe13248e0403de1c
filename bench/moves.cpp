// Encoding and sending batches of moves.
#include <zivra/robot.h>

#include "bench.h"
#include "motion_control/encode_moves.h"
#include "network/xservice/xservice.h"

namespace zivra::bench {

namespace {

constexpr int batchSize = 100;
constexpr int batches = 200;

std::vector<MoveLCommand> squareOfLines() {
  std::vector<MoveLCommand> batch;
  for (int i = 0; i < batchSize; ++i) {
    MoveLCommand line({0.4 + 0.001 * i, 0.1234567, 0.5, 3.14159, 0.2, -3.1}, 200, 5);
    batch.push_back(line);
  }
  return batch;
}

}  // namespace

void moveBatches(const Peer& peer, Table& table) {
  const std::vector<MoveLCommand> batch = squareOfLines();
  std::error_code ec;

  XService link;
  link.setEndpoint(peer.address(), 6666);
  link.start(ec);
  if (ec) throw std::runtime_error("start: " + ec.message());
  std::vector<double> bare;
  for (int i = 0; i < batches; ++i) {
    const std::int64_t begin = nowNs();
    std::string body = "{\"move.l\":";
    internal::appendMoves(body, batch);
    body += '}';
    link.commandWithId(body, internal::nextCommandId("l"), ec);
    bare.push_back(static_cast<double>(nowNs() - begin) / 1000 / batchSize);
    // The next batch finds the socket empty, as after a pause of the application's.
    Json::Value value;
    link.get("sys.power", value, ec);
  }

  TandiRobot robot(peer.address());
  robot.setMaxCacheSize(1000, ec);
  std::vector<double> logged;
  std::string id;
  for (int i = 0; i < batches; ++i) {
    const std::int64_t begin = nowNs();
    robot.moveAppend(batch, id, ec);
    logged.push_back(static_cast<double>(nowNs() - begin) / 1000 / batchSize);
    robot.moveReset(ec);
    if (ec) throw std::runtime_error("moveReset: " + ec.message());
  }
  table.section("A batch of 100 MoveLCommand");
  table.row("encoding and sending, each command", number(median(bare), "us"), "", "at most 1.5 us");
  table.row("moveAppend with its log lines, each command", number(median(logged), "us"),
            number(median(bare), "us without"), "at most 4 us");
}

}  // namespace zivra::bench
