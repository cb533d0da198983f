#ifndef TAVSIM_BYTES_H
#define TAVSIM_BYTES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tavsim {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// The caller has checked that the bytes are there.

inline std::uint16_t load_be16(ByteView bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

inline std::uint32_t load_be32(ByteView bytes, std::size_t offset) {
  return std::uint32_t{load_be16(bytes, offset)} << 16 | load_be16(bytes, offset + 2);
}

inline void store_be16(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value >> 8);
  bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

inline void store_be32(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value) {
  store_be16(bytes, offset, value >> 16);
  store_be16(bytes, offset + 2, value);
}

inline std::string to_hex(ByteView bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0x0f];
  }
  return text;
}

}  // namespace tavsim

#endif
