// HexToDigest on any text, and the digest routines beside it on any bytes.

#include <tavlib/protocol/digest.h>

#include <array>
#include <cctype>
#include <optional>

#include "fuzz/fuzz_target.h"
#include "protocol/digest_text.h"
#include "support/oracle.h"

namespace tavtest {
namespace {

using Digest = std::array<unsigned char, 16>;

std::optional<unsigned> digit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return std::nullopt;
}

/// Whether "%x" may still find a number behind `character`.
bool leads_to_digits(char character) {
  return character == '+' || character == '-' || std::isspace(static_cast<unsigned char>(character)) != 0;
}

/// What a pair of characters makes of a byte. Nothing where that is up to "%x".
std::optional<unsigned> byte_for(char first, char second, unsigned before) {
  const auto high = digit(first);
  const auto low = digit(second);
  if (high && low) return *high * 16 + *low;
  if (!high) return leads_to_digits(first) ? std::nullopt : std::optional(before);
  if (first == '0' && (second == 'x' || second == 'X')) return std::nullopt;
  return high;
}

void check_digest(const std::string& text, const Digest& before, const Digest& after) {
  for (std::size_t i = 0; i < after.size(); ++i) {
    const char first = 2 * i < text.size() ? text[2 * i] : '\0';
    const char second = 2 * i + 1 < text.size() ? text[2 * i + 1] : '\0';
    const auto expected = byte_for(first, second, before[i]);
    expect(!expected || *expected == after[i], "a byte of the digest");
  }
}

void check_last_digits(const Digest& digest) {
  expect(DigestToHex(digest.data()) == 1, "DigestToHex gives 1");
  const std::string digits = tavlib::digest_text();
  expect(digits.size() == 2 && digit(digits[0]).value() * 16 + digit(digits[1]).value() == digest[15],
         "the text of the last byte");
}

void check_making(const Bytes& bytes) {
  Digest digest{};
  expect(MakeDigest(digest.data(), bytes.data(), static_cast<unsigned>(bytes.size())) == 1,
         "MakeDigest gives 1");
  expect(std::equal(digest.begin(), digest.end(), md5(bytes).begin()), "the MD5 of the input");
}

void try_hex_digest(Input input) {
  const Bytes bytes = input.rest();
  // A text that ends at the first zero byte, in a block of just its size.
  Bytes block(bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0}));
  const std::string text(block.begin(), block.end());
  block.push_back(0);
  block.shrink_to_fit();

  Digest before{};
  for (std::size_t i = 0; i < before.size(); ++i)
    before[i] = static_cast<unsigned char>(0xA0 + i);
  Digest after = before;
  expect(HexToDigest(after.data(), reinterpret_cast<const char*>(block.data())) == 1, "HexToDigest gives 1");
  check_digest(text, before, after);
  expect(CompareDigests(before.data(), after.data()) == (before == after ? 1 : 0), "the comparison");
  check_last_digits(after);
  check_making(bytes);
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::try_hex_digest({data, size});
  return 0;
}
