// The file link: port 7777, on which a file's bytes go out and one frame comes back.
//
// Threads: as XNetworkBase.
#pragma once

#include "network/xservice/network_base.h"

namespace zivra {

class XTransfer : public XNetworkBase {
 public:
  static constexpr std::uint32_t port = 7777;

  using XNetworkBase::XNetworkBase;

 protected:
  std::shared_ptr<internal::TcpListener> _bind(std::shared_ptr<Transfer> transfer) override;

 private:
  class Acknowledgements;
};

}  // namespace zivra
