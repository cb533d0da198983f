#ifndef TAVLIB_TESTS_SUPPORT_BYTES_H
#define TAVLIB_TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavtest {

using Bytes = std::vector<std::uint8_t>;

/// The characters of `text` as bytes, without a terminator.
inline Bytes bytes_of(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

/// Two lower-case digits for each byte.
inline std::string hex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

}  // namespace tavtest

#endif
