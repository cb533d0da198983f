#include "tavsim/crypto.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "tavsim/packet.h"

namespace tavsim {
namespace {

constexpr int cipher_key_size = 5;

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("libcrypto: ") + what);
}

}  // namespace

Crypto::Crypto(std::string_view passphrase)
    : library_(OSSL_LIB_CTX_new()),
      legacy_(OSSL_PROVIDER_load(library_.get(), "legacy")),
      default_(OSSL_PROVIDER_load(library_.get(), "default")),
      md5_(EVP_MD_fetch(library_.get(), "MD5", nullptr)),
      hash_(EVP_MD_CTX_new()) {
  require(library_ && default_ && md5_ && hash_, "MD5 is not available");
  require(legacy_ != nullptr, "the legacy provider, which holds Blowfish, cannot be loaded");
  passphrase = passphrase.substr(0, key_.size());
  std::copy(passphrase.begin(), passphrase.end(), key_.begin());
  prepare_cipher();
}

// The context is keyed once: with no chaining and no padding, a whole block leaves no state.
void Crypto::prepare_cipher() {
  const std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> blowfish(
      EVP_CIPHER_fetch(library_.get(), "BF-ECB", nullptr), &EVP_CIPHER_free);
  cipher_.reset(EVP_CIPHER_CTX_new());
  require(blowfish && cipher_, "Blowfish is not available");
  require(EVP_DecryptInit_ex2(cipher_.get(), blowfish.get(), nullptr, nullptr, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(cipher_.get(), cipher_key_size) == 1 &&
              EVP_DecryptInit_ex2(cipher_.get(), nullptr, key_.data(), nullptr, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_padding(cipher_.get(), 0) == 1,
          "Blowfish cannot be keyed");
}

void Crypto::decipher(std::span<std::uint8_t> blocks) const {
  int written = 0;
  const int size = static_cast<int>(blocks.size());
  require(
      EVP_DecryptUpdate(cipher_.get(), blocks.data(), &written, blocks.data(), size) == 1 && written == size,
      "deciphering failed");
}

Digest Crypto::packet_digest(ByteView packet) const {
  Digest digest{};
  const ByteView behind = packet.subspan(digest_offset + digest.size());
  require(EVP_DigestInit_ex2(hash_.get(), md5_.get(), nullptr) == 1 &&
              EVP_DigestUpdate(hash_.get(), packet.data(), digest_offset) == 1 &&
              EVP_DigestUpdate(hash_.get(), key_.data(), key_.size()) == 1 &&
              EVP_DigestUpdate(hash_.get(), behind.data(), behind.size()) == 1 &&
              EVP_DigestFinal_ex(hash_.get(), digest.data(), nullptr) == 1,
          "MD5 failed");
  return digest;
}

}  // namespace tavsim
