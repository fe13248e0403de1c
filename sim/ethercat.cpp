#include "ethercat.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace zivra::sim {

namespace {

constexpr ObjectKey kControl{0x6040, 0}, kStatus{0x6041, 0}, kPosition{0x6064, 0}, kTarget{0x607a, 0},
    kVelocity{0x6081, 0}, kInputs{0x6000, 1}, kOutputs{0x7000, 1};

constexpr std::uint32_t kEnabled = 0x37, kTargetReached = 0x400;

Bytes number(std::uint32_t value, std::size_t size) {
  Bytes bytes;
  for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  return bytes;
}

std::uint32_t numberOf(const Bytes& bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) value = value << 8 | bytes[i - 1];
  return value;
}

Bytes text(const std::string& words) { return {words.begin(), words.end()}; }

void store(Slave& slave, ObjectKey key, std::uint32_t value) {
  Bytes& bytes = slave.dictionary.at(key).bytes;
  bytes = number(value, bytes.size());
}

std::uint32_t stored(const Slave& slave, ObjectKey key) { return numberOf(slave.dictionary.at(key).bytes); }

// A position of 32 bits with its sign.
double target(const Slave& slave) { return static_cast<std::int32_t>(stored(slave, kTarget)); }

bool enabled(const Slave& slave) {
  return slave.drive && slave.plugged && slave.state == SlaveState::op &&
         (stored(slave, kControl) & 0x0f) == 0x0f;
}

bool underWay(const Slave& slave) {
  return enabled(slave) && slave.position != target(slave) && stored(slave, kVelocity) > 0;
}

std::uint32_t statusOf(const Slave& slave) {
  if (enabled(slave)) return slave.position == target(slave) ? kEnabled | kTargetReached : kEnabled;
  if (slave.state != SlaveState::op) return 0x50;
  switch (stored(slave, kControl) & 0x0f) {
    case 0x06:
      return 0x31;  // ready to switch on
    case 0x07:
      return 0x33;  // switched on
    default:
      return 0x50;  // switching on disabled
  }
}

// What a slave shows follows what it was told.
void settle(Slave& slave) {
  if (slave.drive) {
    store(slave, kStatus, statusOf(slave));
    store(slave, kPosition,
          static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(slave.position))));
  } else {
    slave.dictionary[kInputs].bytes = slave.dictionary[kOutputs].bytes;
  }
}

Slave makeSlave(int address, std::uint32_t productCode, const std::string& name, std::uint32_t type) {
  Slave slave;
  slave.address = address;
  slave.id = 0x1000U + static_cast<std::uint32_t>(address);
  slave.vendorId = 0x5a1;
  slave.productCode = productCode;
  slave.revision = 0x00010002;
  slave.name = name;
  slave.dictionary = {{{0x1000, 0}, {number(type, 4)}},
                      {{0x1008, 0}, {text(name)}},
                      {{0x1009, 0}, {text("1.0")}},
                      {{0x100a, 0}, {text("2.3.1")}},
                      {{0x1018, 0}, {number(4, 1)}},
                      {{0x1018, 1}, {number(slave.vendorId, 4)}},
                      {{0x1018, 2}, {number(productCode, 4)}},
                      {{0x1018, 3}, {number(slave.revision, 4)}},
                      {{0x1018, 4}, {number(slave.id, 4)}}};
  return slave;
}

Slave makeDrive(int address) {
  Slave slave = makeSlave(address, 0x402, "servo drive", 0x00020192);
  slave.drive = true;
  slave.dictionary[kControl] = {number(0, 2), true};
  slave.dictionary[kStatus] = {number(0, 2)};
  slave.dictionary[{0x6060, 0}] = {number(1, 1), true};  // mode of operation: positions
  slave.dictionary[{0x6061, 0}] = {number(1, 1)};
  slave.dictionary[kPosition] = {number(0, 4)};
  slave.dictionary[kTarget] = {number(0, 4), true};
  slave.dictionary[kVelocity] = {number(10000, 4), true};  // increments a second
  slave.outputs = {kControl, kTarget};
  slave.inputs = {kStatus, kPosition};
  return slave;
}

Slave makeTerminal(int address) {
  Slave slave = makeSlave(address, 0x808, "digital terminal", 0x00000191);
  slave.dictionary[kInputs] = {number(0, 1)};
  slave.dictionary[kOutputs] = {number(0, 1), true};
  slave.outputs = {kOutputs};
  slave.inputs = {kInputs};
  return slave;
}

bool hasMailbox(SlaveState state) { return state != SlaveState::init && state != SlaveState::bootstrap; }
bool hasInputs(SlaveState state) { return state == SlaveState::safeop || state == SlaveState::op; }

// Down to any state, up by one; firmware is loaded between init and init, and not by the terminal.
bool canGo(const Slave& slave, SlaveState to) {
  const SlaveState from = slave.state;
  if (from == to) return true;
  if (to == SlaveState::bootstrap) return from == SlaveState::init && slave.drive;
  if (from == SlaveState::bootstrap) return to == SlaveState::init;
  return to < from || (from == SlaveState::init && to == SlaveState::preop) ||
         (from == SlaveState::preop && to == SlaveState::safeop) ||
         (from == SlaveState::safeop && to == SlaveState::op);
}

void enter(Slave& slave, SlaveState state) {
  slave.state = state;
  if (slave.drive && state != SlaveState::op) store(slave, kControl, 0);
  settle(slave);
}

Bytes image(const Slave& slave, const std::vector<ObjectKey>& objects) {
  Bytes bytes;
  for (const ObjectKey& key : objects) {
    const Bytes& part = slave.dictionary.at(key).bytes;
    bytes.insert(bytes.end(), part.begin(), part.end());
  }
  return bytes;
}

bool lies(std::size_t within, int offset, std::size_t size) {
  return offset >= 0 && size > 0 && static_cast<std::size_t>(offset) < within &&
         size <= within - static_cast<std::size_t>(offset);
}

}  // namespace

EthercatBus::EthercatBus() : slaves_{makeDrive(1), makeDrive(2), makeTerminal(3)} { boot(); }

void EthercatBus::boot() {
  for (Slave& slave : slaves_) {
    enter(slave, SlaveState::init);
    if (slave.plugged) enter(slave, SlaveState::op);
  }
}

std::vector<const Slave*> EthercatBus::present() const {
  std::vector<const Slave*> found;
  for (const Slave& slave : slaves_)
    if (slave.plugged) found.push_back(&slave);
  return found;
}

const Slave* EthercatBus::find(int address) const {
  for (const Slave& slave : slaves_)
    if (slave.address == address && slave.plugged) return &slave;
  return nullptr;
}

Slave* EthercatBus::mutableSlave(int address) {
  return const_cast<Slave*>(static_cast<const EthercatBus*>(this)->find(address));
}

void EthercatBus::plug(int address, bool in) {
  for (Slave& slave : slaves_) {
    if (slave.address != address || slave.plugged == in) continue;
    slave.plugged = in;
    enter(slave, SlaveState::init);
  }
}

bool EthercatBus::setState(SlaveState state) {
  for (const Slave* slave : present())
    if (!canGo(*slave, state)) return false;
  for (Slave& slave : slaves_)
    if (slave.plugged) enter(slave, state);
  return true;
}

std::optional<Bytes> EthercatBus::readObject(int address, ObjectKey key) const {
  const Slave* slave = find(address);
  if (slave == nullptr || !hasMailbox(slave->state)) return std::nullopt;
  const auto found = slave->dictionary.find(key);
  return found == slave->dictionary.end() ? std::nullopt : std::optional(found->second.bytes);
}

bool EthercatBus::writeObject(int address, ObjectKey key, const Bytes& bytes) {
  Slave* slave = mutableSlave(address);
  if (slave == nullptr || !hasMailbox(slave->state)) return false;
  const auto found = slave->dictionary.find(key);
  if (found == slave->dictionary.end() || !found->second.writable) return false;
  if (found->second.bytes.size() != bytes.size()) return false;
  found->second.bytes = bytes;
  settle(*slave);
  return true;
}

std::optional<Bytes> EthercatBus::readProcessData(int address, int offset, int size) const {
  const Slave* slave = find(address);
  if (slave == nullptr || !hasInputs(slave->state) || size < 0) return std::nullopt;
  const Bytes all = image(*slave, slave->inputs);
  if (!lies(all.size(), offset, static_cast<std::size_t>(size))) return std::nullopt;
  return Bytes(all.begin() + offset, all.begin() + offset + size);
}

bool EthercatBus::writeProcessData(int address, int offset, const Bytes& bytes) {
  Slave* slave = mutableSlave(address);
  if (slave == nullptr || slave->state != SlaveState::op) return false;
  Bytes all = image(*slave, slave->outputs);
  if (!lies(all.size(), offset, bytes.size())) return false;
  std::ranges::copy(bytes, all.begin() + offset);
  auto from = all.begin();
  for (const ObjectKey& key : slave->outputs) {
    Bytes& part = slave->dictionary.at(key).bytes;
    std::copy_n(from, part.size(), part.begin());
    from += static_cast<std::ptrdiff_t>(part.size());
  }
  settle(*slave);
  return true;
}

bool EthercatBus::busy() const { return std::ranges::any_of(slaves_, underWay); }

void EthercatBus::advance(double seconds) {
  for (Slave& slave : slaves_) {
    if (!underWay(slave)) continue;
    const double way = seconds * stored(slave, kVelocity);
    slave.position += std::clamp(target(slave) - slave.position, -way, way);
    settle(slave);
  }
}

}  // namespace zivra::sim
