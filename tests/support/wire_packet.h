#ifndef TAVLIB_TESTS_SUPPORT_WIRE_PACKET_H
#define TAVLIB_TESTS_SUPPORT_WIRE_PACKET_H

// Packets laid out by hand, field by field at literal offsets, independent of the library.

#include <cstdint>
#include <optional>
#include <string>

#include "support/bytes.h"

namespace tavtest {

constexpr std::ptrdiff_t digest_offset = 12;

/// Numbers at an offset, big-endian. Throw std::out_of_range outside of `bytes`.
void put_be16(Bytes& bytes, std::size_t offset, std::uint16_t value);
void put_be32(Bytes& bytes, std::size_t offset, std::uint32_t value);
std::uint16_t get_be16(const Bytes& bytes, std::size_t offset);
std::uint32_t get_be32(const Bytes& bytes, std::size_t offset);

/// A packet of `length` bytes, zero but for its length word, code byte and request id.
Bytes make_packet(std::uint8_t code, std::uint32_t id, std::size_t length = 100);

/// An entry's fields. A string that is not there is a null pointer's.
struct WireEntry {
  std::uint32_t tag = 0;
  std::optional<std::u16string> user = std::nullopt;
  std::optional<std::u16string> string2 = std::nullopt;
  std::optional<std::u16string> string3 = std::nullopt;
  Bytes data = {};
  std::uint32_t address = 0;  ///< The 32-bit value; the packet carries it big-endian, like every other word.
  std::uint32_t word7 = 0;
  std::uint32_t flag8 = 0;
  std::uint32_t word9 = 0;
  std::uint32_t word10 = 0;
  std::uint32_t word11 = 0;
  std::uint32_t word12 = 0;
  std::uint32_t word13 = 0;
  std::uint32_t word14 = 0;
};

/// Writes the descriptor at `offset` and the strings and bytes into the data area, makes the packet as long
/// as they need (100 bytes, 4 for each character, and the data), and sets its length word. The second half of
/// each string's four bytes per character is zero.
void put_entry(Bytes& packet, std::size_t offset, const WireEntry& entry);

/// The packet of an entry query: three argument words, and the filter's descriptor at offset 40.
Bytes query_packet(std::uint32_t id, std::uint32_t a1, std::uint32_t a2, std::uint32_t a3,
                   const WireEntry& filter);

/// A packet with one counted entry (count word at 28, descriptor at 32): an add request (code 2), or a
/// query's answer.
Bytes entry_packet(std::uint8_t code, std::uint32_t id, const WireEntry& entry);

}  // namespace tavtest

#endif
