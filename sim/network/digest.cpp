#include "network/digest.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <stdexcept>

namespace zivra::sim {

std::array<unsigned char, 16> md5(std::string_view bytes) {
  std::array<unsigned char, 16> digest{};
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_md5(), nullptr) != 1)
    throw std::runtime_error("this machine has no MD5");
  return digest;
}

std::string hexText(const std::array<unsigned char, 16>& digest) {
  std::string text;
  for (const unsigned byte : digest) text += fmt::format("{:02x}", byte);
  return text;
}

}  // namespace zivra::sim
