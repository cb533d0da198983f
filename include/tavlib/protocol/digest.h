#ifndef TAVLIB_PROTOCOL_DIGEST_H
#define TAVLIB_PROTOCOL_DIGEST_H

// MD5 digests (RFC 1321): 16 bytes in the byte order of the RFC. Every function may be called from any
// thread, except DigestToHex.

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Writes the MD5 digest of the `length` bytes at `data` (may be null when `length` is 0). Always 1.
TAVLIB_API int MakeDigest(unsigned char digest[16], const void* data, unsigned length);

/// 1 when the 16 bytes of both digests are equal, else 0.
TAVLIB_API int CompareDigests(const unsigned char a[16], const unsigned char b[16]);

/// Reads a digest from its 32 hexadecimal digits, upper or lower case. Each pair is read as scanf reads "%x"
/// ("5g" gives 5); one without a number leaves its byte as it was, and nothing is read behind the end of a
/// shorter text. Always 1.
TAVLIB_API int HexToDigest(unsigned char digest[16], const char* hex);

/// Formats each byte of `digest` as two lower-case digits into one two-character text, each over the one
/// before, so that the last byte's digits remain. The text stays inside the library. Always 1. One thread at
/// a time.
TAVLIB_API int DigestToHex(const unsigned char digest[16]);

TAVLIB_END_C

#endif
