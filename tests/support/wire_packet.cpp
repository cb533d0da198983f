#include "support/wire_packet.h"

#include <algorithm>

namespace tavtest {
namespace {

constexpr std::size_t data_area = 96;

std::size_t characters(const std::optional<std::u16string>& text) {
  return text ? text->size() : 0;
}

// The string's bytes at `running` in the data area, and its two words in the descriptor. Returns the next
// free place.
std::size_t put_string(Bytes& packet, std::size_t descriptor, std::size_t running,
                       const std::optional<std::u16string>& text) {
  if (!text) return running;
  put_be16(packet, descriptor, static_cast<std::uint16_t>(running));
  put_be16(packet, descriptor + 2, static_cast<std::uint16_t>(text->size()));
  for (std::size_t i = 0; i < text->size(); ++i) {
    packet.at(data_area + running + 2 * i) = static_cast<std::uint8_t>((*text)[i] & 0xff);
    packet.at(data_area + running + 2 * i + 1) = static_cast<std::uint8_t>((*text)[i] >> 8);
  }
  return running + 4 * text->size();
}

void put_data(Bytes& packet, std::size_t descriptor, std::size_t running, const Bytes& data) {
  if (data.empty()) return;
  put_be16(packet, descriptor, static_cast<std::uint16_t>(running));
  put_be16(packet, descriptor + 2, static_cast<std::uint16_t>(data.size() & 0xffff));
  std::copy(data.begin(), data.end(), packet.begin() + static_cast<std::ptrdiff_t>(data_area + running));
}

}  // namespace

void put_be16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
  bytes.at(offset) = static_cast<std::uint8_t>(value >> 8);
  bytes.at(offset + 1) = static_cast<std::uint8_t>(value & 0xff);
}

void put_be32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
  put_be16(bytes, offset, static_cast<std::uint16_t>(value >> 16));
  put_be16(bytes, offset + 2, static_cast<std::uint16_t>(value & 0xffff));
}

std::uint16_t get_be16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}

std::uint32_t get_be32(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(get_be16(bytes, offset)) << 16 | get_be16(bytes, offset + 2);
}

Bytes make_packet(std::uint8_t code, std::uint32_t id, std::size_t length) {
  Bytes packet(std::max<std::size_t>(length, 100));
  put_be32(packet, 0, static_cast<std::uint32_t>(length));
  packet[4] = code;
  put_be32(packet, 8, id);
  packet.resize(length);
  return packet;
}

void put_entry(Bytes& packet, std::size_t offset, const WireEntry& entry) {
  const std::size_t text = characters(entry.user) + characters(entry.string2) + characters(entry.string3);
  packet.resize(100 + 4 * text + entry.data.size());
  put_be32(packet, 0, static_cast<std::uint32_t>(packet.size()));
  put_be32(packet, offset, entry.tag);
  std::size_t running = put_string(packet, offset + 4, 0, entry.user);
  running = put_string(packet, offset + 8, running, entry.string2);
  running = put_string(packet, offset + 12, running, entry.string3);
  put_data(packet, offset + 16, running, entry.data);
  put_be32(packet, offset + 20, entry.address);
  put_be32(packet, offset + 24, entry.word7);
  put_be32(packet, offset + 28, entry.word9);
  put_be32(packet, offset + 32, entry.word10);
  put_be32(packet, offset + 36, entry.word11);
  put_be32(packet, offset + 40, entry.word12);
  put_be32(packet, offset + 44, entry.flag8);
  put_be32(packet, offset + 48, entry.word13);
  put_be32(packet, offset + 52, entry.word14);
}

Bytes query_packet(std::uint32_t id, std::uint32_t a1, std::uint32_t a2, std::uint32_t a3,
                   const WireEntry& filter) {
  Bytes packet = make_packet(3, id);
  put_be32(packet, 28, a1);
  put_be32(packet, 32, a2);
  put_be32(packet, 36, a3);
  put_entry(packet, 40, filter);
  return packet;
}

Bytes entry_packet(std::uint8_t code, std::uint32_t id, const WireEntry& entry) {
  Bytes packet = make_packet(code, id);
  put_be32(packet, 28, 1);
  put_entry(packet, 32, entry);
  return packet;
}

}  // namespace tavtest
