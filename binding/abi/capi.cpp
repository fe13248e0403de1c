#include "abi/capi.h"

#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "abi/registry.h"

using namespace zivra::clr;
using namespace zivra::clr::abi;

namespace {

// A reply that its caller had no room for. Asking whether there is one costs less than looking at it.
thread_local std::vector<std::uint8_t> waiting;
constinit thread_local bool isWaiting = false;

/// The reply may lie where the arguments did: nothing is written before they are decoded.
void run(std::uint64_t self, std::int32_t operation, const void* in, std::int32_t size, Writer& reply) {
  if (size < 0 || operation < 0 || static_cast<std::size_t>(operation) >= rows().size()) Reader::bad();
  Reader arguments(in, static_cast<std::size_t>(size));
  const std::size_t place = reply.placeFor<std::int32_t>();
  rows()[static_cast<std::size_t>(operation)].call(self, arguments, reply);
  if (reply.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    throw std::bad_alloc();
  reply.numberAt(place, std::int32_t{0});
}

void fault(Writer& reply, std::int32_t number, const char* text) {
  reply.clear();
  reply.number(number);
  Codec<String>::put(reply, text);
}

void runToReply(std::uint64_t self, std::int32_t operation, const void* in, std::int32_t size,
                Writer& reply) {
  try {
    run(self, operation, in, size, reply);
  } catch (const ManagedException& e) {
    fault(reply, static_cast<std::int32_t>(e.fault()), e.what());
  } catch (const BoundaryFault& e) {
    fault(reply, e.number(), e.what());
  } catch (const std::bad_alloc& e) {
    fault(reply, static_cast<std::int32_t>(Fault::outOfMemory), e.what());
  } catch (const std::length_error& e) {
    fault(reply, static_cast<std::int32_t>(Fault::outOfMemory), e.what());
  } catch (const std::exception& e) {
    fault(reply, static_cast<std::int32_t>(Fault::external), e.what());
  } catch (...) {
    fault(reply, static_cast<std::int32_t>(Fault::external), "unknown failure");
  }
}

}  // namespace

#if defined(_WIN32)
#define ZCLR_EXPORT extern "C" __declspec(dllexport)
#else
#define ZCLR_EXPORT extern "C" __attribute__((visibility("default")))
#endif

ZCLR_EXPORT std::uint64_t zivra_clr_schema() noexcept {
  static const std::uint64_t number = schemaNumber();
  return number;
}

ZCLR_EXPORT void zivra_clr_callbacks(InvokeDelegate invoke, DropDelegate drop) noexcept {
  setCallbacks(invoke, drop);
}

ZCLR_EXPORT std::int32_t zivra_clr_call(std::uint64_t self, std::int32_t operation, const void* in,
                                        std::int32_t size, void* out, std::int32_t capacity) noexcept {
  Writer reply(out, capacity < 0 ? 0 : static_cast<std::size_t>(capacity));
  runToReply(self, operation, in, size, reply);
  if (isWaiting) {
    waiting.clear();
    isWaiting = false;
  }
  const auto length = static_cast<std::int32_t>(reply.size());
  if (length > capacity) {
    waiting = reply.takeBytes();
    isWaiting = true;
  } else if (reply.data() != out) {
    std::memcpy(out, reply.data(), reply.size());
  }
  return length;
}

ZCLR_EXPORT std::int32_t zivra_clr_take(void* out, std::int32_t capacity) noexcept {
  const auto length = static_cast<std::int32_t>(waiting.size());
  if (length > capacity) return length;
  if (length > 0) std::memcpy(out, waiting.data(), waiting.size());
  std::vector<std::uint8_t>().swap(waiting);
  isWaiting = false;
  return length;
}

ZCLR_EXPORT void zivra_clr_release(std::uint64_t self) noexcept { releaseObject(self); }
