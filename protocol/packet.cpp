#include <tavlib/protocol/digest.h>
#include <tavlib/protocol/packet.h>

#include <cstring>

#include "protocol/packet_view.h"

namespace {

constexpr std::size_t kDigestSize = sizeof(_TAVPACKET::digest);

bool digestible(const _TAVPACKET& packet) {
  const std::uint32_t length = tavlib::length_of(packet);
  return length >= tavlib::kMinPacketLength && length <= tavlib::kPacketSize;
}

// The digest covers the packet with the key in the digest's place.
void digest_with_key(_TAVPACKET& packet, const unsigned char* key, unsigned char* digest) {
  std::memcpy(packet.digest, key, kDigestSize);
  MakeDigest(digest, &packet, tavlib::length_of(packet));
}

}  // namespace

int MakeMd5Sum(_TAVPACKET* packet, const unsigned char key[16]) {
  if (!digestible(*packet)) return 0;
  unsigned char digest[kDigestSize];
  digest_with_key(*packet, key, digest);
  std::memcpy(packet->digest, digest, kDigestSize);
  return 1;
}

int VerifyMd5Sum(_TAVPACKET* packet, const unsigned char key[16]) {
  if (!digestible(*packet)) return 0;
  unsigned char received[kDigestSize];
  unsigned char computed[kDigestSize];
  std::memcpy(received, packet->digest, kDigestSize);
  digest_with_key(*packet, key, computed);
  std::memcpy(packet->digest, received, kDigestSize);
  return CompareDigests(received, computed);
}
