#include "clr/ethercat.h"

#include <algorithm>
#include <cstddef>

#include "clr/facade.h"

namespace zivra::clr {

using Native = zivra::BaseEthercat;

namespace {

Array<std::uint8_t> zeroed(int length) {
  return Array<std::uint8_t>(static_cast<std::size_t>(std::max(length, 0)));
}

// As many bytes as are to be sent, whatever the caller has.
Array<std::uint8_t> fitted(const std::optional<Array<std::uint8_t>>& data, int length) {
  auto bytes = zeroed(length);
  if (data) std::copy_n(data->begin(), std::min(bytes.size(), data->size()), bytes.begin());
  return bytes;
}

}  // namespace

BaseEthercat::BaseEthercat(zivra::BaseEthercat native) : raw_(std::make_unique<Native>(std::move(native))) {}

BaseEthercat::~BaseEthercat() = default;

void BaseEthercat::Dispose() { raw_.reset(); }

int BaseEthercat::GetSlaveCount(ErrorCode& ec) {
  return forwardTo<int>(raw_.get(), &Native::GetSlaveCount, ec);
}

SlaveInfo BaseEthercat::GetSlaveInfo(int slave_addr, ErrorCode& ec) {
  return forwardTo<SlaveInfo>(raw_.get(), &Native::GetSlaveInfo, slave_addr, ec);
}

List<SlaveInfo> BaseEthercat::GetSlavesInfo(ErrorCode& ec) {
  return forwardTo<List<SlaveInfo>>(raw_.get(), &Native::GetSlavesInfo, ec);
}

std::uint16_t BaseEthercat::GetSlaveState(int slave_addr, ErrorCode& ec) {
  return forwardTo<std::uint16_t>(raw_.get(), &Native::GetSlaveState, slave_addr, ec);
}

bool BaseEthercat::SetSlavesState(std::uint16_t state, ErrorCode& ec) {
  return forwardTo<bool>(raw_.get(), &Native::SetSlavesState, state, ec);
}

bool BaseEthercat::ReadSDO(int slave_addr, int index, int sub_index, int length, Array<std::uint8_t>& data,
                           int over_time, ErrorCode& ec) {
  if (length <= 0) {
    data.clear();
    ec = ErrorCode(0, "");
    return true;
  }
  data = zeroed(length);
  std::uint8_t* buffer = data.data();
  return forwardTo<bool>(raw_.get(), &Native::ReadSDO, slave_addr, index, sub_index, length, buffer,
                         over_time, ec);
}

bool BaseEthercat::WriteSDO(int slave_addr, int index, int sub_index, int length,
                            const std::optional<Array<std::uint8_t>>& data, int over_time, ErrorCode& ec) {
  const auto bytes = fitted(data, length);
  const std::uint8_t* buffer = bytes.data();
  return forwardTo<bool>(raw_.get(), &Native::WriteSDO, slave_addr, index, sub_index, length, buffer,
                         over_time, ec);
}

bool BaseEthercat::WriteMultiSDO(std::uint16_t slave_addr, const List<std::optional<SDOData>>& items,
                                 ErrorCode& ec) {
  return forwardTo<bool>(raw_.get(), &Native::WriteMultiSDO, slave_addr, items, ec);
}

bool BaseEthercat::ReadPDO(int slave_addr, int offset, int size, Array<std::uint8_t>& data, ErrorCode& ec) {
  data = zeroed(size);
  std::uint8_t* buffer = data.data();
  return forwardTo<bool>(raw_.get(), &Native::ReadPDO, slave_addr, offset, size, buffer, ec);
}

bool BaseEthercat::WritePDO(int slave_addr, int offset, int size,
                            const std::optional<Array<std::uint8_t>>& data, ErrorCode& ec) {
  const auto bytes = fitted(data, size);
  const std::uint8_t* buffer = bytes.data();
  return forwardTo<bool>(raw_.get(), &Native::WritePDO, slave_addr, offset, size, buffer, ec);
}

}  // namespace zivra::clr
