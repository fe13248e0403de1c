#include "network/digest.h"

#include <new>
#include <openssl/evp.h>
#include <string_view>

namespace zivra::internal {

namespace {

EVP_MD_CTX* contextOf(void* context) { return static_cast<EVP_MD_CTX*>(context); }

void require(int result) {
  if (result != 1) throw std::bad_alloc();
}

}  // namespace

void Md5::Free::operator()(void* context) const noexcept { EVP_MD_CTX_free(contextOf(context)); }

Md5::Md5() : context_(EVP_MD_CTX_new()) {
  if (!context_) throw std::bad_alloc();
  require(EVP_DigestInit_ex(contextOf(context_.get()), EVP_md5(), nullptr));
}

void Md5::add(const void* bytes, std::size_t size) {
  require(EVP_DigestUpdate(contextOf(context_.get()), bytes, size));
}

Md5::Value Md5::value() {
  Value digest{};
  require(EVP_DigestFinal_ex(contextOf(context_.get()), digest.data(), nullptr));
  return digest;
}

Md5::Value Md5::of(const void* bytes, std::size_t size) {
  Md5 md5;
  md5.add(bytes, size);
  return md5.value();
}

std::string hexText(const Md5::Value& digest) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : digest) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace zivra::internal
