#ifndef TAVLIB_TESTS_FUZZ_FUZZ_TARGET_H
#define TAVLIB_TESTS_FUZZ_FUZZ_TARGET_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "support/bytes.h"

/// The one function that each target defines. It is called with every input and always returns 0; an input
/// that shows a defect ends the program.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tavtest {

/// Ends the program unless `holds`, so that the input which was being tried counts as found.
inline void expect(bool holds, const char* otherwise) {
  if (holds) return;
  std::fprintf(stderr, "not as it must be: %s\n", otherwise);
  std::abort();
}

/// An input taken apart from its front. What is missing reads as zero or as nothing.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }

  std::uint8_t byte() {
    const Bytes one = take(1);
    return one.empty() ? std::uint8_t{0} : one[0];
  }
  std::uint16_t be16() {
    const unsigned high = byte();
    return static_cast<std::uint16_t>(high << 8 | byte());
  }
  std::uint32_t be32() {
    const std::uint32_t high = be16();
    return high << 16 | be16();
  }

  /// The next `count` bytes, or those that are left.
  Bytes take(std::size_t count) {
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }
  Bytes rest() { return take(rest_.size()); }

  /// The bytes up to the next `end`, which is dropped.
  std::string until(char end) {
    const auto found = std::find(rest_.begin(), rest_.end(), static_cast<std::uint8_t>(end));
    const Bytes taken = take(static_cast<std::size_t>(found - rest_.begin()));
    take(1);
    return {taken.begin(), taken.end()};
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace tavtest

#endif
