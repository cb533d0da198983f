#ifndef TAVLIB_PROTOCOL_BLOWFISH_H
#define TAVLIB_PROTOCOL_BLOWFISH_H

#include <tavlib/export.h>

#ifdef __cplusplus

#include <cstdint>

/// The Blowfish cipher (B. Schneier, "Description of a New Variable-Length Key, 64-Bit Block Cipher", 1993)
/// under a key of at most 5 bytes: a longer key is cut to its first 5.
///
/// Blocks are 8 bytes, their halves big-endian on every host. Each block is enciphered on its own: no
/// chaining, no initial vector.
///
/// Threads: no operation but init changes an object, so several threads may use it at once.
class TAVLIB_API CBlowfish {
 public:
  /// Prepares the tables for the first `length` bytes of `key`, at most 5. With a `length` of 0 or less they
  /// are the published tables, mixed with an empty key.
  CBlowfish(const char* key, int length);
  CBlowfish(unsigned char* key, int length);

  /// Loads the published initial tables: the object then holds no key.
  void init();

  /// The round function of the low 32 bits of `x`.
  unsigned F(long x);

  /// Enciphers or deciphers one block, passed as its two halves, in place. A half is the low 32 bits of its
  /// word. The result is stored zero-extended.
  void encipher(long* left, long* right);
  void decipher(long* left, long* right);

  /// Enciphers or deciphers the 8 bytes at `in` to the 8 bytes at `out`, which may be the same. Only `out` is
  /// written.
  void encrypt(unsigned char* in, unsigned char* out);
  void decrypt(unsigned char* in, unsigned char* out);

  /// Enciphers `inLength` bytes, followed by zero bytes up to getRequiredCipherLength(inLength). An input of
  /// whole blocks gains a block of zeros.
  ///
  /// Returns the number of bytes written, or -1 with nothing written when `outLength` is less than that.
  int encryptString(const unsigned char* in, unsigned inLength, unsigned char* out, unsigned outLength);

  /// Deciphers `inLength` bytes and the 8 bytes after them, the counterpart of encryptString's extra block.
  ///
  /// `in` must have inLength + 8 readable bytes, and `out` room for getMaxDecipheredLength(inLength) whatever
  /// `outLength` says. `outLength` bytes of `out` are zeroed first.
  ///
  /// Returns the number of bytes written, or 0 with nothing written when `inLength` is not a multiple of 8.
  int decryptString(const unsigned char* in, unsigned inLength, unsigned char* out, unsigned outLength);

  /// The room that encryptString needs for `n` bytes: (n / 8 + 1) * 8.
  unsigned getRequiredCipherLength(unsigned n);

  /// The room that decryptString needs for `n` bytes: `n` rounded down to a multiple of 8, plus 8.
  unsigned getMaxDecipheredLength(unsigned n);

 protected:
  std::uint32_t s[4][256]{};
  std::uint32_t p[18]{};
  int rounds{16};
  // Part of the object's shape; no operation reads them.
  int reserved0{0};
  int reserved1{-1};
  int blockSize{8};
};

#else

typedef struct CBlowfish CBlowfish;

#endif

#endif
