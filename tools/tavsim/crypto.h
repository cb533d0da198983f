#ifndef TAVSIM_CRYPTO_H
#define TAVSIM_CRYPTO_H

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "tavsim/bytes.h"

namespace tavsim {

using Digest = std::array<std::uint8_t, 16>;

/// What a pass phrase keys: the cipher of requests and the digest of both directions, all from libcrypto.
class Crypto {
 public:
  /// The key buffer is the phrase's first 16 bytes, padded with zero bytes. Throws std::runtime_error when
  /// libcrypto cannot supply Blowfish (its legacy provider) or MD5.
  explicit Crypto(std::string_view passphrase);

  /// Deciphers whole 8-byte blocks in place, each on its own.
  void decipher(std::span<std::uint8_t> blocks) const;

  /// The digest that belongs into `packet`: MD5 over all its bytes with the key buffer in the digest's place.
  /// `packet` has at least 28 bytes.
  Digest packet_digest(ByteView packet) const;

 private:
  struct Free {
    void operator()(OSSL_LIB_CTX* context) const { OSSL_LIB_CTX_free(context); }
    void operator()(OSSL_PROVIDER* provider) const { OSSL_PROVIDER_unload(provider); }
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(EVP_MD* md) const { EVP_MD_free(md); }
  };
  template <typename T>
  using Owned = std::unique_ptr<T, Free>;

  void prepare_cipher();

  std::array<std::uint8_t, 16> key_{};
  Owned<OSSL_LIB_CTX> library_;
  Owned<OSSL_PROVIDER> legacy_;
  Owned<OSSL_PROVIDER> default_;
  Owned<EVP_CIPHER_CTX> cipher_;
  Owned<EVP_MD> md5_;
  Owned<EVP_MD_CTX> hash_;
};

}  // namespace tavsim

#endif
