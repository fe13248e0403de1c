#include "network/data_receiver.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include <zivra/error.h>

#include "core/library_message.h"

namespace zivra {

static_assert(std::endian::native == std::endian::little, "datagrams are little-endian");

namespace {

using internal::libraryMessage;
using internal::Message;
using std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

// More than a socket keeps: a sender that is faster than this host doesn't hold the caller for ever.
constexpr int mostDrained = 65536;

template <class Number>
Number numberAt(const char* bytes) noexcept {
  Number number;
  std::memcpy(&number, bytes, sizeof number);
  return number;
}

// Of the 20 flags.
bool anySet(const char* flags) noexcept {
  static_assert(bytesOf(StateTag::flags20) == 20);
  return (numberAt<std::uint64_t>(flags) | numberAt<std::uint64_t>(flags + 8) |
          numberAt<std::uint32_t>(flags + 16)) != 0;
}

bool isReals(StateTag tag) noexcept { return tag >= StateTag::reals5 && tag <= StateTag::reals16; }

}  // namespace

DataReceiver::~DataReceiver() { DataReceiver::close(); }

void DataReceiver::open(std::error_code& ec, bool fallback) noexcept {
  UdpService::open(ec, fallback);
  const std::lock_guard lock(valuesMutex_);
  health_ = {};
  newestTs_.reset();
}

void DataReceiver::close() noexcept {
  receiving_ = false;
  UdpService::close();
  // A start on another thread may have set it meanwhile; from here on it finds the socket closed.
  receiving_ = false;
}

int DataReceiver::setRecipe(const std::set<std::string>& requested, unsigned short dof) {
  std::vector<std::string> order{"ts", "errors"};
  order.insert(order.end(), requested.begin(), requested.end());
  decltype(values_) values;
  std::vector<Stretch> recipe;
  std::size_t total = 0;
  for (const std::string& name : order) {
    const auto tag = stateField(name, dof);
    if (!tag) return -1;
    const std::size_t length = bytesOf(*tag);
    if (total + length > longestDatagram) return -1;
    const auto from = static_cast<std::uint16_t>(total);
    // A field that comes twice is one value: the later one of a datagram counts.
    const std::uint16_t to = values.try_emplace(name, StateValue{*tag, from}).first->second.offset;
    if (recipe.empty() || recipe.back().endsInErrors || recipe.back().from + recipe.back().length != from ||
        recipe.back().to + recipe.back().length != to) {
      recipe.push_back({from, to, 0, false});
    }
    recipe.back().length = static_cast<std::uint16_t>(recipe.back().length + length);
    recipe.back().endsInErrors = *tag == StateTag::flags20;
    total += length;
  }

  std::set<std::string> fields = requested;
  const std::lock_guard lock(valuesMutex_);
  fields_.swap(fields);
  values_.swap(values);
  recipe_.swap(recipe);
  packetSize_ = total;
  bytes_.fill(0);
  return 0;
}

unsigned DataReceiver::update(nanoseconds timeout) {
  if (!isReceiving()) throw RealtimeStateException(libraryMessage(Message::notReceiving));
  return take(std::max(timeout, nanoseconds::zero()));
}

unsigned DataReceiver::take(nanoseconds timeout) {
  char buffer[longestDatagram];  // not zeroed: only what came is read
  const Turn turn(*this, timeout);
  if (!turn.held()) return 0;
  const auto length = receive(buffer, timeout);
  if (!length) return 0;
  if (const Accepted datagram = accept(buffer, *length); datagram.errors) throwFirstRtError(*datagram.errors);
  return static_cast<unsigned>(*length);
}

unsigned DataReceiver::drain() {
  if (!isReceiving()) throw RealtimeStateException(libraryMessage(Message::notReceiving));
  char buffer[longestDatagram];
  nanoseconds none{0};
  // Whoever receives at the moment leaves nothing to wait.
  const Turn turn(*this, none);
  if (!turn.held()) return 0;
  std::optional<Flags> errors;
  unsigned whole = 0;
  for (int i = 0; i < mostDrained; ++i) {
    const auto length = receive(buffer, none);
    if (!length) break;
    const Accepted datagram = accept(buffer, *length);
    if (datagram.whole) ++whole;
    if (datagram.errors && !errors) errors = datagram.errors;
  }
  const unsigned skipped = whole > 1 ? whole - 1 : 0;
  {
    const std::lock_guard lock(valuesMutex_);
    health_.skipped += skipped;
  }
  if (errors) throwFirstRtError(*errors);
  return skipped;
}

void DataReceiver::waitFirstState() {
  const auto deadline = Clock::now() + firstStateLimit_;
  while (take(std::max(deadline - Clock::now(), Clock::duration::zero())) == 0) {
    if (!isOpen() || Clock::now() >= deadline)
      throw RealtimeStateException(libraryMessage(Message::noStateInTime));
  }
  const Turn turn(*this);
  receiving_ = isOpen();
  if (!receiving_) throw RealtimeStateException(libraryMessage(Message::noStateInTime));
}

void DataReceiver::decode(std::string_view bytes) {
  const Accepted datagram = accept(bytes.data(), bytes.size());
  if (!datagram.whole) {
    throw RealtimeControlException(libraryMessage(Message::receiveFailed) +
                                   std::string("read form input stream error"));
  }
  if (datagram.errors) throwFirstRtError(*datagram.errors);
}

DataReceiver::Accepted DataReceiver::accept(const char* bytes, std::size_t length) noexcept {
  const auto now = internal::platform::lastTick();
  const std::lock_guard lock(valuesMutex_);
  newest_ = now;
  ++health_.received;
  if (length < packetSize_) {
    ++health_.tooShort;
    return {};
  }
  const auto ts = numberAt<std::uint64_t>(bytes);
  // A controller that was restarted counts anew; that is no gap.
  if (newestTs_ && ts > *newestTs_) health_.largestGap = std::max(health_.largestGap, ts - *newestTs_);
  newestTs_ = ts;
  return {true, copyValues(bytes)};
}

std::optional<DataReceiver::Flags> DataReceiver::copyValues(const char* bytes) noexcept {
  for (const Stretch& stretch : recipe_) {
    std::memcpy(bytes_.data() + stretch.to, bytes + stretch.from, stretch.length);
    if (!stretch.endsInErrors) continue;
    const char* const errors = bytes + stretch.from + stretch.length - flagCount;
    if (!anySet(errors)) continue;
    Flags flags;
    std::transform(errors, errors + flagCount, flags.begin(), [](char byte) { return byte != 0; });
    return flags;
  }
  return std::nullopt;
}

template <class Take>
int DataReceiver::readField(const std::string& name, Take&& take) const {
  const std::lock_guard lock(valuesMutex_);
  const auto found = values_.find(name);
  if (found == values_.end()) return -1;
  return take(found->second.tag, bytes_.data() + found->second.offset) ? 0 : -1;
}

int DataReceiver::read(const std::string& name, double& value) const {
  return readField(name, [&](StateTag tag, const char* bytes) {
    if (tag != StateTag::real) return false;
    value = numberAt<double>(bytes);
    return true;
  });
}

int DataReceiver::read(const std::string& name, std::uint64_t& value) const {
  return readField(name, [&](StateTag tag, const char* bytes) {
    if (tag != StateTag::count) return false;
    value = numberAt<std::uint64_t>(bytes);
    return true;
  });
}

int DataReceiver::read(const std::string& name, std::vector<double>& value) const {
  const int result = readField(name, [&](StateTag tag, const char* bytes) {
    if (!isReals(tag)) return false;
    value.resize(bytesOf(tag) / sizeof(double));
    std::memcpy(value.data(), bytes, bytesOf(tag));
    return true;
  });
  if (result != 0) value.clear();
  return result;
}

StateStreamHealth DataReceiver::health() const noexcept {
  const auto now = internal::platform::lastTick();
  const std::lock_guard lock(valuesMutex_);
  StateStreamHealth health = health_;
  if (health.received > 0) health.age = std::max(now - newest_, Clock::duration::zero());
  return health;
}

}  // namespace zivra
