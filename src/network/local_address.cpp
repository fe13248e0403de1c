#include <zivra/local_address.h>

#include "network/datagram_socket.h"

namespace zivra {

std::string localAddressTowards(const std::string& remoteIP) noexcept {
  return internal::platform::addressTowards(remoteIP);
}

}  // namespace zivra
