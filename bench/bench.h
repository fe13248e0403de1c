// The sections of the benchmark. Each prints its rows and asserts nothing.
#pragma once

#include "measure.h"
#include "peer.h"

namespace zivra::bench {

void roundTrips(const Peer& peer, Table& table, double seconds);
void manyExchanges(const Peer& peer, Table& table, std::int64_t exchanges);
void moveBatches(const Peer& peer, Table& table);
void connections(const Peer& peer, Table& table);
void linkLoss(const Peer& peer, Table& table);
void idleLink(const Peer& peer, Table& table);
// `seconds` at a kilohertz, and some more for the rest.
void stateStream(const Peer& peer, Table& table, double seconds);
void files(const Peer& peer, Table& table, bool quick);
// The faces of the managed binding; with the managed program too, unless it is "".
void binding(const Peer& peer, const std::string& managedProgram, bool quick);
// In a process that has done nothing else.
void memory(const Peer& peer, Table& table);
void filesMemory(const Peer& peer, Table& table);

}  // namespace zivra::bench
