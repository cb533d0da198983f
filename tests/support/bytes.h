#ifndef TAVLIB_TESTS_SUPPORT_BYTES_H
#define TAVLIB_TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace tavtest {

using Bytes = std::vector<std::uint8_t>;

/// The characters of `text` as bytes, without a terminator.
inline Bytes bytes_of(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace tavtest

#endif
