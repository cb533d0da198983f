#include <tavlib/protocol/digest.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "protocol/digest_text.h"
#include "protocol/md5.h"

namespace {

constexpr std::size_t kDigestSize = 16;

char last_digits[3];

// Past the end of a short text, the copy holds terminating zeros.
std::array<char, 2 * kDigestSize + 1> copy_digits(const char* hex) {
  std::array<char, 2 * kDigestSize + 1> digits{};
  std::memcpy(digits.data(), hex, strnlen(hex, 2 * kDigestSize));
  return digits;
}

}  // namespace

const char* tavlib::digest_text() {
  return last_digits;
}

int MakeDigest(unsigned char digest[16], const void* data, unsigned length) {
  tavlib::Md5Context context;  // NOLINT(cppcoreguidelines-pro-type-member-init): MD5Init fills it
  tavlib::MD5Init(context);
  tavlib::MD5Update(context, {static_cast<const unsigned char*>(data), length});
  tavlib::MD5Final(digest, context);
  return 1;
}

int CompareDigests(const unsigned char a[16], const unsigned char b[16]) {
  return std::memcmp(a, b, kDigestSize) == 0 ? 1 : 0;
}

int HexToDigest(unsigned char digest[16], const char* hex) {
  auto digits = copy_digits(hex);
  // From the last pair to the first, each cut off once read, so that every pair stands alone.
  for (std::size_t i = kDigestSize; i-- > 0;) {
    unsigned value = 0;
    // NOLINTNEXTLINE(cert-err34-c): two digits never overflow
    if (std::sscanf(&digits[2 * i], "%x", &value) == 1) digest[i] = static_cast<unsigned char>(value);
    digits[2 * i] = '\0';
  }
  return 1;
}

int DigestToHex(const unsigned char digest[16]) {
  for (std::size_t i = 0; i < kDigestSize; ++i) {
    static_cast<void>(std::snprintf(last_digits, sizeof last_digits, "%02x", digest[i]));
  }
  return 1;
}
