#include <tavlib/protocol/blowfish.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/byte_order.h"
#include "protocol/blowfish_tables.h"

using tavlib::load_be32;
using tavlib::store_be32;

namespace {

constexpr int kMaxKeyBytes = 5;
constexpr unsigned kBlock = 8;
// Blocks that encryptString enciphers in step. bench/crypto_bench.cpp: more than twice as fast as one by one.
constexpr unsigned kLanes = 4;

struct Halves {
  std::uint32_t left;
  std::uint32_t right;
};

std::uint32_t round_function(const std::uint32_t (&s)[4][256], std::uint32_t x) {
  return ((s[0][x >> 24] + s[1][x >> 16 & 0xff]) ^ s[2][x >> 8 & 0xff]) + s[3][x & 0xff];
}

// Enciphers independent blocks in step, so that their table look-ups overlap in the processor. Sixteen
// rounds, two at a time so that the halves need no swapping.
template <std::size_t blocks>
void encipher_blocks(const std::uint32_t (&s)[4][256], const std::uint32_t (&p)[18],
                     std::array<Halves, blocks>& block) {
  for (int i = 0; i < 16; i += 2) {
    for (auto& [left, right] : block) {
      left ^= p[i];
      right ^= round_function(s, left) ^ p[i + 1];
      left ^= round_function(s, right);
    }
  }
  for (Halves& halves : block)
    halves = {halves.right ^ p[17], halves.left ^ p[16]};
}

Halves encipher_block(const std::uint32_t (&s)[4][256], const std::uint32_t (&p)[18], Halves block) {
  std::array<Halves, 1> single{block};
  encipher_blocks(s, p, single);
  return single[0];
}

Halves decipher_block(const std::uint32_t (&s)[4][256], const std::uint32_t (&p)[18], Halves block) {
  auto [left, right] = block;
  for (int i = 17; i > 1; i -= 2) {
    left ^= p[i];
    right ^= round_function(s, left) ^ p[i - 1];
    left ^= round_function(s, right);
  }
  return {right ^ p[0], left ^ p[1]};
}

Halves load_block(const unsigned char* bytes) {
  return {load_be32(bytes), load_be32(bytes + 4)};
}

void store_block(unsigned char* bytes, Halves block) {
  store_be32(bytes, block.left);
  store_be32(bytes + 4, block.right);
}

// Enciphers `blocks` blocks of bytes in step.
template <std::size_t blocks>
void encrypt_bytes(const std::uint32_t (&s)[4][256], const std::uint32_t (&p)[18], const unsigned char* in,
                   unsigned char* out) {
  std::array<Halves, blocks> block;
  for (std::size_t i = 0; i < blocks; ++i)
    block[i] = load_block(in + i * kBlock);
  encipher_blocks(s, p, block);
  for (std::size_t i = 0; i < blocks; ++i)
    store_block(out + i * kBlock, block[i]);
}

void decrypt_bytes(const std::uint32_t (&s)[4][256], const std::uint32_t (&p)[18], const unsigned char* in,
                   unsigned char* out) {
  store_block(out, decipher_block(s, p, load_block(in)));
}

// Mixes the key into freshly loaded tables.
void mix_key(std::uint32_t (&s)[4][256], std::uint32_t (&p)[18], const unsigned char* key, int keyLength) {
  const int length = std::clamp(keyLength, 0, kMaxKeyBytes);
  int position = 0;
  for (std::uint32_t& entry : p) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4 && length > 0; ++i) {
      word = word << 8 | key[position];
      position = (position + 1) % length;
    }
    entry ^= word;
  }

  Halves block{0, 0};
  const auto replace = [&](std::uint32_t& first, std::uint32_t& second) {
    block = encipher_block(s, p, block);
    first = block.left;
    second = block.right;
  };
  for (int i = 0; i < 18; i += 2)
    replace(p[i], p[i + 1]);
  for (auto& box : s) {
    for (int i = 0; i < 256; i += 2)
      replace(box[i], box[i + 1]);
  }
}

}  // namespace

CBlowfish::CBlowfish(const char* key, int length) {
  init();
  mix_key(s, p, reinterpret_cast<const unsigned char*>(key), length);
}

CBlowfish::CBlowfish(unsigned char* key, int length) {
  init();
  mix_key(s, p, key, length);
}

void CBlowfish::init() {
  std::copy(tavlib::kBlowfishP.begin(), tavlib::kBlowfishP.end(), p);
  for (std::size_t box = 0; box < 4; ++box) {
    std::copy(tavlib::kBlowfishS[box].begin(), tavlib::kBlowfishS[box].end(), s[box]);
  }
}

unsigned CBlowfish::F(long x) {
  return round_function(s, static_cast<std::uint32_t>(x));
}

void CBlowfish::encipher(long* left, long* right) {
  const Halves block =
      encipher_block(s, p, {static_cast<std::uint32_t>(*left), static_cast<std::uint32_t>(*right)});
  *left = static_cast<long>(block.left);
  *right = static_cast<long>(block.right);
}

void CBlowfish::decipher(long* left, long* right) {
  const Halves block =
      decipher_block(s, p, {static_cast<std::uint32_t>(*left), static_cast<std::uint32_t>(*right)});
  *left = static_cast<long>(block.left);
  *right = static_cast<long>(block.right);
}

void CBlowfish::encrypt(unsigned char* in, unsigned char* out) {
  encrypt_bytes<1>(s, p, in, out);
}

void CBlowfish::decrypt(unsigned char* in, unsigned char* out) {
  decrypt_bytes(s, p, in, out);
}

int CBlowfish::encryptString(const unsigned char* in, unsigned inLength, unsigned char* out,
                             unsigned outLength) {
  const std::uint64_t needed = (std::uint64_t{inLength} / kBlock + 1) * kBlock;
  if (outLength < needed) return -1;

  const unsigned whole = inLength / kBlock * kBlock;
  unsigned at = 0;
  for (; whole - at >= kLanes * kBlock; at += kLanes * kBlock)
    encrypt_bytes<kLanes>(s, p, in + at, out + at);
  for (; at < whole; at += kBlock)
    encrypt_bytes<1>(s, p, in + at, out + at);

  std::array<unsigned char, kBlock> last{};
  std::copy_n(in + whole, inLength - whole, last.begin());
  encrypt_bytes<1>(s, p, last.data(), out + whole);
  return static_cast<int>(needed);
}

int CBlowfish::decryptString(const unsigned char* in, unsigned inLength, unsigned char* out,
                             unsigned outLength) {
  if (inLength % kBlock != 0) return 0;
  std::fill_n(out, outLength, static_cast<unsigned char>(0));
  const std::uint64_t total = std::uint64_t{inLength} + kBlock;
  for (std::uint64_t at = 0; at < total; at += kBlock)
    decrypt_bytes(s, p, in + at, out + at);
  return static_cast<int>(total);
}

unsigned CBlowfish::getRequiredCipherLength(unsigned n) {
  return (n / kBlock + 1) * kBlock;
}

unsigned CBlowfish::getMaxDecipheredLength(unsigned n) {
  return n / kBlock * kBlock + kBlock;
}
