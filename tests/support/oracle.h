#ifndef TAVLIB_TESTS_SUPPORT_ORACLE_H
#define TAVLIB_TESTS_SUPPORT_ORACLE_H

// The protocol's digest, cipher and framing made with libcrypto: nothing in here is the library's own code.

#include <string_view>

#include "support/bytes.h"

namespace tavtest {

/// The 16 bytes of MD5.
Bytes md5(const Bytes& bytes);

/// Blowfish, block by block without chaining, under all of `key`'s bytes. Sizes are multiples of 8.
Bytes blowfish_encrypt(const Bytes& plain, const Bytes& key);
Bytes blowfish_decrypt(const Bytes& cipher, const Bytes& key);

/// The 16-byte key buffer of a pass phrase; its first 5 bytes are the cipher's key.
Bytes key_buffer(std::string_view passphrase);

/// The keyed digest of a whole packet (as many bytes as its length word says) under a 16-byte key buffer.
Bytes keyed_digest(Bytes packet, const Bytes& key);

/// Whether the packet carries its right digest.
bool digest_is_right(const Bytes& packet, std::string_view passphrase);

/// The packet with its digest filled in: a reply as it goes over the wire.
Bytes seal_reply(Bytes packet, std::string_view passphrase);

/// The datagram of a request: the packet is digested (if its length word is 100 or more), padded, enciphered,
/// and put behind the length of the cipher text.
Bytes frame_request(Bytes packet, std::string_view passphrase);

/// The packet in a request's datagram. Throws std::runtime_error, saying why, unless the framing is exactly
/// as prescribed: length prefix, amount of padding, padding of zeros, and (from 100 bytes on) the digest.
Bytes open_request(const Bytes& datagram, std::string_view passphrase);

}  // namespace tavtest

#endif
