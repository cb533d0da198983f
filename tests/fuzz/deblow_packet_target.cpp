// DeBlowPacket on any datagram: as it comes, or enciphered first so that the fuzzer decides on the plain
// text.
//
// Input: a byte of flags (bit 0: encipher), the room for the packet (2 bytes), 5 bytes of key, then the
// datagram; or, to be enciphered, the bytes behind its length prefix.

#include <tavlib/error_numbers.h>
#include <tavlib/protocol/packet.h>

#include "fuzz/fuzz_target.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavtest {
namespace {

constexpr std::size_t kPrefix = 4;
constexpr std::size_t kBlock = 8;
constexpr std::uint32_t kLongestCipher = 8192;
constexpr std::uint32_t kLongestPacket = 4096;
constexpr std::uint8_t kUntouched = 0xC3;

bool acceptable(std::uint32_t cipher_length) {
  return cipher_length <= kLongestCipher && cipher_length % kBlock == 0;
}

/// `plain` enciphered behind its length prefix.
Bytes framed(Bytes plain, const Bytes& key) {
  plain.resize(std::min<std::size_t>(plain.size() / kBlock * kBlock, kLongestCipher));
  Bytes datagram(kPrefix);
  put_be32(datagram, 0, static_cast<std::uint32_t>(plain.size()));
  const Bytes cipher = blowfish_encrypt(plain, key);
  datagram.insert(datagram.end(), cipher.begin(), cipher.end());
  return datagram;
}

/// Gives the datagram the bytes that must be readable, and none behind them.
void make_readable(Bytes& datagram) {
  if (datagram.size() < kPrefix) datagram.resize(kPrefix);
  const std::uint32_t cipher_length = get_be32(datagram, 0);
  datagram.resize(acceptable(cipher_length) ? kPrefix + cipher_length + kBlock : kPrefix);
  datagram.shrink_to_fit();
}

struct Outcome {
  unsigned status;
  Bytes packet;
};

Outcome expected_outcome(const Bytes& datagram, const Bytes& key, std::size_t room) {
  Bytes packet(room, kUntouched);
  if (!acceptable(get_be32(datagram, 0))) return {TAV_E_BADPACKET, packet};
  const Bytes plain = blowfish_decrypt(Bytes(datagram.begin() + kPrefix, datagram.end()), key);
  std::copy_n(plain.begin(), std::min(room, plain.size()), packet.begin());
  const bool too_long = get_be32(plain, 0) > kLongestPacket;
  return {too_long ? unsigned{TAV_E_BADPACKET} : 0, packet};
}

void try_deblow_packet(Input input) {
  const bool encipher = (input.byte() & 1) != 0;
  const std::size_t room = input.be16() % 9000U;
  Bytes key = input.take(5);
  key.resize(5);
  Bytes datagram = encipher ? framed(input.rest(), key) : input.rest();
  make_readable(datagram);

  CBlowfish cipher(key.data(), static_cast<int>(key.size()));
  const Outcome expected = expected_outcome(datagram, key, room);
  Bytes packet(room, kUntouched);
  const unsigned status = DeBlowPacket(reinterpret_cast<_TAVPACKET*>(packet.data()),
                                       static_cast<unsigned>(room), datagram.data(), &cipher);
  expect(status == expected.status, "the status");
  expect(packet == expected.packet, "the packet");
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::try_deblow_packet({data, size});
  return 0;
}
