#include <tavlib/error_numbers.h>
#include <tavlib/protocol/packet.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/byte_order.h"
#include "protocol/packet_view.h"

namespace {

constexpr unsigned kMaxCipherLength = 8192;
constexpr unsigned kLengthPrefix = 4;
constexpr unsigned kBlock = 8;

}  // namespace

unsigned DeBlowPacket(_TAVPACKET* packet, unsigned size, const unsigned char* datagram, CBlowfish* cipher) {
  const unsigned cipherLength = tavlib::load_be32(datagram);
  if (cipherLength > kMaxCipherLength || cipherLength % kBlock != 0) return TAV_E_BADPACKET;

  const unsigned scratchSize = cipher->getMaxDecipheredLength(cipherLength);
  const std::unique_ptr<unsigned char[]> scratch(new (std::nothrow) unsigned char[scratchSize]);
  if (!scratch) return TAV_E_NOMEMORY;

  cipher->decryptString(datagram + kLengthPrefix, cipherLength, scratch.get(), scratchSize);
  std::copy_n(scratch.get(), std::min(size, scratchSize), reinterpret_cast<unsigned char*>(packet));
  return tavlib::load_be32(scratch.get()) > tavlib::kPacketSize ? unsigned{TAV_E_BADPACKET} : 0;
}
