#include "support/oracle.h"

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/wire_packet.h"

namespace tavtest {
namespace {

constexpr std::size_t cipher_key_size = 5;
constexpr std::size_t shortest_packet = 100;

void require(bool holds, const std::string& otherwise) {
  if (!holds) throw std::runtime_error(otherwise);
}

// Blowfish is in the provider of old algorithms, and loading that one takes the default one away.
const EVP_CIPHER* blowfish() {
  static const EVP_CIPHER* const cipher = [] {
    OSSL_PROVIDER_load(nullptr, "default");
    OSSL_PROVIDER_load(nullptr, "legacy");
    return EVP_CIPHER_fetch(nullptr, "BF-ECB", "provider=legacy");
  }();
  require(cipher != nullptr, "libcrypto offers no BF-ECB");
  return cipher;
}

Bytes run_blowfish(const Bytes& in, const Bytes& key, int encrypt) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                EVP_CIPHER_CTX_free);
  Bytes out(in.size() + 8);
  int length = 0;
  require(
      EVP_CipherInit_ex2(context.get(), blowfish(), nullptr, nullptr, encrypt, nullptr) == 1 &&
          EVP_CIPHER_CTX_set_key_length(context.get(), static_cast<int>(key.size())) == 1 &&
          EVP_CipherInit_ex2(context.get(), nullptr, key.data(), nullptr, encrypt, nullptr) == 1 &&
          EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
          EVP_CipherUpdate(context.get(), out.data(), &length, in.data(), static_cast<int>(in.size())) == 1,
      "libcrypto refused to run Blowfish");
  require(static_cast<std::size_t>(length) == in.size(), "not a whole number of blocks");
  out.resize(in.size());
  return out;
}

Bytes cipher_key(std::string_view passphrase) {
  Bytes key = key_buffer(passphrase);
  key.resize(cipher_key_size);
  return key;
}

}  // namespace

Bytes md5(const Bytes& bytes) {
  Bytes digest(16);
  require(EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_md5(), nullptr) == 1,
          "libcrypto refused to run MD5");
  return digest;
}

Bytes blowfish_encrypt(const Bytes& plain, const Bytes& key) {
  return run_blowfish(plain, key, 1);
}

Bytes blowfish_decrypt(const Bytes& cipher, const Bytes& key) {
  return run_blowfish(cipher, key, 0);
}

Bytes key_buffer(std::string_view passphrase) {
  Bytes key = bytes_of(passphrase.substr(0, 16));
  key.resize(16, 0);
  return key;
}

Bytes keyed_digest(Bytes packet, const Bytes& key) {
  const std::size_t length = get_be32(packet, 0);
  require(length >= shortest_packet && length <= packet.size(),
          "a digest needs a whole packet of 100 bytes or more");
  packet.resize(length);
  std::copy(key.begin(), key.end(), packet.begin() + digest_offset);
  return md5(packet);
}

bool digest_is_right(const Bytes& packet, std::string_view passphrase) {
  const Bytes digest = keyed_digest(packet, key_buffer(passphrase));
  return std::equal(digest.begin(), digest.end(), packet.begin() + digest_offset);
}

Bytes seal_reply(Bytes packet, std::string_view passphrase) {
  const Bytes digest = keyed_digest(packet, key_buffer(passphrase));
  std::copy(digest.begin(), digest.end(), packet.begin() + digest_offset);
  return packet;
}

Bytes frame_request(Bytes packet, std::string_view passphrase) {
  if (packet.size() >= shortest_packet) packet = seal_reply(std::move(packet), passphrase);
  packet.resize((packet.size() / 8 + 1) * 8, 0);
  const Bytes cipher = blowfish_encrypt(packet, cipher_key(passphrase));
  Bytes datagram(4);
  put_be32(datagram, 0, static_cast<std::uint32_t>(cipher.size()));
  datagram.insert(datagram.end(), cipher.begin(), cipher.end());
  return datagram;
}

Bytes open_request(const Bytes& datagram, std::string_view passphrase) {
  require(datagram.size() >= 12, "a request of " + std::to_string(datagram.size()) + " bytes");
  require(get_be32(datagram, 0) == datagram.size() - 4, "the length prefix is not that of the cipher text");
  Bytes packet = blowfish_decrypt(Bytes(datagram.begin() + 4, datagram.end()), cipher_key(passphrase));
  const std::size_t length = get_be32(packet, 0);
  require((length / 8 + 1) * 8 == packet.size(),
          "a packet of " + std::to_string(length) + " bytes in a cipher text of " +
              std::to_string(packet.size()) + ": wrong pass phrase or padding");
  require(std::all_of(packet.begin() + static_cast<std::ptrdiff_t>(length), packet.end(),
                      [](std::uint8_t byte) { return byte == 0; }),
          "the padding is not zero");
  packet.resize(length);
  require(length < shortest_packet || digest_is_right(packet, passphrase), "the request's digest is wrong");
  return packet;
}

}  // namespace tavtest
