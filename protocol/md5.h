#ifndef TAVLIB_MD5_H
#define TAVLIB_MD5_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// The MD5 message digest, after RFC 1321, with the RFC's names.
namespace tavlib {

struct Md5Context {
  std::array<std::uint32_t, 4> state;
  std::uint64_t bytes;  ///< Input so far; MD5 counts its bits modulo 2^64.
  std::array<unsigned char, 64> buffer;
};

void MD5Init(Md5Context& context);
void MD5Update(Md5Context& context, std::span<const unsigned char> input);
void MD5Final(unsigned char digest[16], Md5Context& context);

/// Mixes one 64-byte block into `state`.
void MD5Transform(std::array<std::uint32_t, 4>& state, const unsigned char* block);

/// Words to bytes and back, little-endian.
void Encode(std::span<unsigned char> bytes, std::span<const std::uint32_t> words);
void Decode(std::span<std::uint32_t> words, const unsigned char* bytes);

}  // namespace tavlib

#endif
