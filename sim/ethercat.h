// The EtherCAT bus behind the controller: two drives of axes that the arm doesn't have, and a terminal whose
// inputs are wired to its outputs. Knows nothing of links and locks.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zivra::sim {

// In the numbering of EtherCAT.
enum class SlaveState { init = 1, preop = 2, bootstrap = 3, safeop = 4, op = 8 };

struct ObjectKey {
  int index = 0, subIndex = 0;
  auto operator<=>(const ObjectKey&) const = default;
};

using Bytes = std::vector<std::uint8_t>;  // numbers have their lowest byte first

struct DictionaryObject {
  Bytes bytes;
  bool writable = false;
};

struct Slave {
  int address = 0;
  std::uint32_t id = 0, vendorId = 0, productCode = 0, revision = 0;
  std::string name;
  bool drive = false;
  bool plugged = true;
  SlaveState state = SlaveState::op;
  std::map<ObjectKey, DictionaryObject> dictionary;
  std::vector<ObjectKey> outputs, inputs;  // the objects that process data consists of
  double position = 0;                     // of a drive, increments
};

class EthercatBus {
 public:
  EthercatBus();

  // All slaves operational, drives off; what is stored in them and where they stand stays.
  void boot();
  std::vector<const Slave*> present() const;  // by address
  const Slave* find(int address) const;       // null: not on the bus
  // A slave that comes back begins at `init`.
  void plug(int address, bool in);

  // All slaves at once; false, and nothing changes, if one of them can't go there from where it is.
  bool setState(SlaveState state);

  // Nothing, or false, for what isn't there, can't be written or has another size, and in a state without.
  std::optional<Bytes> readObject(int address, ObjectKey key) const;
  bool writeObject(int address, ObjectKey key, const Bytes& bytes);
  std::optional<Bytes> readProcessData(int address, int offset, int size) const;
  bool writeProcessData(int address, int offset, const Bytes& bytes);

  bool busy() const;  // a drive is on its way
  void advance(double seconds);

 private:
  Slave* mutableSlave(int address);

  std::vector<Slave> slaves_;
};

}  // namespace zivra::sim
