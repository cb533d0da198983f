#ifndef TAVLIB_PLATFORM_BYTE_ORDER_H
#define TAVLIB_PLATFORM_BYTE_ORDER_H

// Numbers in memory, byte by byte: the same result on every host, at any alignment.

#include <cstdint>

namespace tavlib {

constexpr std::uint16_t load_be16(const unsigned char* bytes) {
  return static_cast<std::uint16_t>((bytes[0] << 8) | bytes[1]);
}

constexpr std::uint16_t load_le16(const unsigned char* bytes) {
  return static_cast<std::uint16_t>((bytes[1] << 8) | bytes[0]);
}

constexpr std::uint32_t load_be32(const unsigned char* bytes) {
  return (static_cast<std::uint32_t>(load_be16(bytes)) << 16) | load_be16(bytes + 2);
}

constexpr std::uint32_t load_le32(const unsigned char* bytes) {
  return (static_cast<std::uint32_t>(load_le16(bytes + 2)) << 16) | load_le16(bytes);
}

constexpr void store_be16(unsigned char* bytes, std::uint16_t value) {
  bytes[0] = static_cast<unsigned char>(value >> 8);
  bytes[1] = static_cast<unsigned char>(value & 0xff);
}

constexpr void store_le16(unsigned char* bytes, std::uint16_t value) {
  bytes[0] = static_cast<unsigned char>(value & 0xff);
  bytes[1] = static_cast<unsigned char>(value >> 8);
}

constexpr void store_be32(unsigned char* bytes, std::uint32_t value) {
  store_be16(bytes, static_cast<std::uint16_t>(value >> 16));
  store_be16(bytes + 2, static_cast<std::uint16_t>(value & 0xffff));
}

constexpr void store_le32(unsigned char* bytes, std::uint32_t value) {
  store_le16(bytes, static_cast<std::uint16_t>(value & 0xffff));
  store_le16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}

}  // namespace tavlib

#endif
