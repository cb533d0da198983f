#ifndef TAVLIB_PROTOCOL_DIGEST_H
#define TAVLIB_PROTOCOL_DIGEST_H

// MD5 digests (RFC 1321): 16 bytes in the byte order of the RFC.
//
// Threads: every function may be called from any thread, except DigestToHex.

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Writes the MD5 digest of the `length` bytes at `data` to `digest`. `data` may be null when `length` is 0.
/// Always 1.
TAVLIB_API int MakeDigest(unsigned char digest[16], const void* data, unsigned length);

/// 1 when the 16 bytes of both digests are equal, else 0.
TAVLIB_API int CompareDigests(const unsigned char a[16], const unsigned char b[16]);

/// Reads a digest from its 32 hexadecimal digits, upper or lower case. Always 1.
///
/// Each pair is read as scanf reads "%x": "5g" gives 5. A pair without a number leaves its byte as it was. Of
/// a shorter text, nothing past the end is read.
TAVLIB_API int HexToDigest(unsigned char digest[16], const char* hex);

/// Formats each byte of `digest` as two lower-case digits into one two-character text, each over the one
/// before: the last byte's digits remain. The text stays inside the library. Always 1.
///
/// Threads: one at a time.
TAVLIB_API int DigestToHex(const unsigned char digest[16]);

TAVLIB_END_C

#endif
