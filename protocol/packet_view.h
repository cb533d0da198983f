#ifndef TAVLIB_PACKET_VIEW_H
#define TAVLIB_PACKET_VIEW_H

#include <tavlib/protocol/packet.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavlib {

constexpr std::size_t kPacketSize = 4096;
constexpr std::size_t kMinPacketLength = 100;
constexpr std::size_t kArgumentsAt = 28;
constexpr std::size_t kDataAt = 96;

static_assert(sizeof(_TAVPACKET) == kPacketSize && alignof(_TAVPACKET) == 1);
static_assert(offsetof(_TAVPACKET, arguments) == kArgumentsAt && offsetof(_TAVPACKET, data) == kDataAt);

/// Reads a packet's bytes. What lies past its 4096 bytes reads as zero.
class PacketReader {
 public:
  explicit PacketReader(const _TAVPACKET& packet);

  std::uint16_t be16(std::size_t offset) const;
  std::uint16_t le16(std::size_t offset) const;
  std::uint32_t be32(std::size_t offset) const;

  /// Copies the bytes that start at `offset`.
  void copy(std::size_t offset, std::span<unsigned char> target) const;

 private:
  std::span<const unsigned char, kPacketSize> bytes_;
};

/// Writes a packet's bytes. What would lie past its 4096 bytes is dropped; callers check the size before.
class PacketWriter {
 public:
  explicit PacketWriter(_TAVPACKET& packet);

  void be16(std::size_t offset, std::uint16_t value);
  void le16(std::size_t offset, std::uint16_t value);
  void be32(std::size_t offset, std::uint32_t value);
  void copy(std::size_t offset, std::span<const unsigned char> source);

 private:
  std::span<unsigned char, kPacketSize> bytes_;
};

/// The packet's length word.
std::uint32_t length_of(const _TAVPACKET& packet);

/// Sets length word and code byte.
void set_header(_TAVPACKET& packet, std::uint32_t length, std::uint8_t code);

}  // namespace tavlib

#endif
