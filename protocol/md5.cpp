#include "protocol/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/byte_order.h"

namespace tavlib {

namespace {

constexpr std::size_t kBlock = 64;

// The RFC's table T: the integer part of 2^32 times |sin(i)|, for i = 1 to 64 in radians.
constexpr std::array<std::uint32_t, 64> kSine = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

struct Words {
  std::uint32_t a, b, c, d;
};

using Mix = std::uint32_t (*)(std::uint32_t, std::uint32_t, std::uint32_t);

constexpr std::uint32_t mix_f(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return z ^ (x & (y ^ z));
}
constexpr std::uint32_t mix_g(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return y ^ (z & (x ^ y));
}
constexpr std::uint32_t mix_h(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return x ^ y ^ z;
}
constexpr std::uint32_t mix_i(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return y ^ (x | ~z);
}

// One operation: a = b + ((a + mix(b, c, d) + word + sine) <<< shift).
template <Mix mix>
inline void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t addend,
                 int shift) {
  a = b + std::rotl(a + mix(b, c, d) + addend, shift);
}

// Sixteen operations; operation i takes message word (start + i * stride) mod 16.
template <Mix mix, unsigned round, unsigned start, unsigned stride>
inline void run_round(Words& v, const std::array<std::uint32_t, 16>& x, const std::array<int, 4>& shift) {
  const auto addend = [&x](unsigned i) { return x[(start + i * stride) % 16] + kSine[round * 16 + i]; };
#pragma GCC unroll 4
  for (unsigned i = 0; i < 16; i += 4) {
    step<mix>(v.a, v.b, v.c, v.d, addend(i), shift[0]);
    step<mix>(v.d, v.a, v.b, v.c, addend(i + 1), shift[1]);
    step<mix>(v.c, v.d, v.a, v.b, addend(i + 2), shift[2]);
    step<mix>(v.b, v.c, v.d, v.a, addend(i + 3), shift[3]);
  }
}

}  // namespace

void MD5Init(Md5Context& context) {
  context.state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  context.bytes = 0;
}

void MD5Update(Md5Context& context, std::span<const unsigned char> input) {
  const std::size_t held = context.bytes % kBlock;
  context.bytes += input.size();

  if (held != 0) {
    const std::size_t taken = std::min(input.size(), kBlock - held);
    std::copy_n(input.begin(), taken, context.buffer.begin() + static_cast<std::ptrdiff_t>(held));
    input = input.subspan(taken);
    if (held + taken < kBlock) return;
    MD5Transform(context.state, context.buffer.data());
  }
  for (; input.size() >= kBlock; input = input.subspan(kBlock))
    MD5Transform(context.state, input.data());
  std::copy(input.begin(), input.end(), context.buffer.begin());
}

void MD5Final(unsigned char digest[16], Md5Context& context) {
  static constexpr std::array<unsigned char, kBlock> kPadding = {0x80};

  const std::uint64_t bits = context.bytes * 8;
  const std::array<std::uint32_t, 2> count = {static_cast<std::uint32_t>(bits),
                                              static_cast<std::uint32_t>(bits >> 32)};
  std::array<unsigned char, 8> tail{};
  Encode(tail, count);

  // Padding up to 8 bytes short of a block, then the length in bits.
  const std::size_t held = context.bytes % kBlock;
  const std::size_t padding = (held < 56 ? 56 : 56 + kBlock) - held;
  MD5Update(context, std::span(kPadding).first(padding));
  MD5Update(context, tail);
  Encode({digest, 16}, context.state);
}

void MD5Transform(std::array<std::uint32_t, 4>& state, const unsigned char* block) {
  std::array<std::uint32_t, 16> x{};
  Decode(x, block);

  Words v{state[0], state[1], state[2], state[3]};
  run_round<mix_f, 0, 0, 1>(v, x, {7, 12, 17, 22});
  run_round<mix_g, 1, 1, 5>(v, x, {5, 9, 14, 20});
  run_round<mix_h, 2, 5, 3>(v, x, {4, 11, 16, 23});
  run_round<mix_i, 3, 0, 7>(v, x, {6, 10, 15, 21});

  state[0] += v.a;
  state[1] += v.b;
  state[2] += v.c;
  state[3] += v.d;
}

void Encode(std::span<unsigned char> bytes, std::span<const std::uint32_t> words) {
  for (std::size_t i = 0; i < words.size(); ++i)
    store_le32(bytes.data() + i * 4, words[i]);
}

void Decode(std::span<std::uint32_t> words, const unsigned char* bytes) {
  for (std::size_t i = 0; i < words.size(); ++i)
    words[i] = load_le32(bytes + i * 4);
}

}  // namespace tavlib
