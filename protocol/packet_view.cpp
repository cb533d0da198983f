#include "protocol/packet_view.h"

#include <algorithm>
#include <array>

#include "platform/byte_order.h"

namespace tavlib {

namespace {

template <typename Byte, typename Packet>
std::span<Byte, kPacketSize> bytes_of(Packet& packet) {
  return std::span<Byte, kPacketSize>(reinterpret_cast<Byte*>(&packet), kPacketSize);
}

}  // namespace

PacketReader::PacketReader(const _TAVPACKET& packet) : bytes_(bytes_of<const unsigned char>(packet)) {}

void PacketReader::copy(std::size_t offset, std::span<unsigned char> target) const {
  const std::size_t from = std::min(offset, kPacketSize);
  const std::size_t held = std::min(target.size(), kPacketSize - from);
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(from), held, target.begin());
  std::fill(target.begin() + static_cast<std::ptrdiff_t>(held), target.end(), static_cast<unsigned char>(0));
}

std::uint16_t PacketReader::be16(std::size_t offset) const {
  std::array<unsigned char, 2> value{};
  copy(offset, value);
  return load_be16(value.data());
}

std::uint16_t PacketReader::le16(std::size_t offset) const {
  std::array<unsigned char, 2> value{};
  copy(offset, value);
  return load_le16(value.data());
}

std::uint32_t PacketReader::be32(std::size_t offset) const {
  std::array<unsigned char, 4> value{};
  copy(offset, value);
  return load_be32(value.data());
}

PacketWriter::PacketWriter(_TAVPACKET& packet) : bytes_(bytes_of<unsigned char>(packet)) {}

void PacketWriter::copy(std::size_t offset, std::span<const unsigned char> source) {
  const std::size_t from = std::min(offset, kPacketSize);
  const std::size_t held = std::min(source.size(), kPacketSize - from);
  std::copy_n(source.begin(), held, bytes_.begin() + static_cast<std::ptrdiff_t>(from));
}

void PacketWriter::be16(std::size_t offset, std::uint16_t value) {
  std::array<unsigned char, 2> stored{};
  store_be16(stored.data(), value);
  copy(offset, stored);
}

void PacketWriter::le16(std::size_t offset, std::uint16_t value) {
  std::array<unsigned char, 2> stored{};
  store_le16(stored.data(), value);
  copy(offset, stored);
}

void PacketWriter::be32(std::size_t offset, std::uint32_t value) {
  std::array<unsigned char, 4> stored{};
  store_be32(stored.data(), value);
  copy(offset, stored);
}

std::uint32_t length_of(const _TAVPACKET& packet) {
  return load_be32(packet.length);
}

void set_header(_TAVPACKET& packet, std::uint32_t length, std::uint8_t code) {
  store_be32(packet.length, length);
  packet.code = code;
}

}  // namespace tavlib
