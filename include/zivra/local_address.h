#pragma once

#include <string>

#include <zivra/export.h>

namespace zivra {

/// The address that this machine uses towards `remoteIP`, as text: what a robot's `localIP` wants. Asks the
/// routing table only; nothing is sent. Empty if `remoteIP` isn't an IPv4 address or can't be reached. An
/// addition of this library's own.
ZIVRA_API std::string localAddressTowards(const std::string& remoteIP) noexcept;

}  // namespace zivra
