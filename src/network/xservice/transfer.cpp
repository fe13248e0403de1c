#include "network/xservice/transfer.h"

#include <optional>
#include <utility>

#include "core/json.h"

namespace zivra {

// `{"f":"success"}` and `{"f":"error"}`; everything else is no word about the file.
class XTransfer::Acknowledgements final : public Listener {
 public:
  using Listener::Listener;

  void received(std::string_view frame) override {
    Json::Value message;
    if (frame.empty() || !parser_.parse(frame, message)) return;
    const std::optional<std::string> word = internal::asText(internal::member(message, "f"));
    if (word == "success" || word == "error") transfer_->acknowledge(word == "success");
  }

 private:
  internal::JsonParser parser_;  // network thread
};

std::shared_ptr<internal::TcpListener> XTransfer::_bind(std::shared_ptr<Transfer> transfer) {
  return std::make_shared<Acknowledgements>(std::move(transfer));
}

}  // namespace zivra
