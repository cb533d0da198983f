#ifndef TAVLIB_PROTOCOL_PACKET_H
#define TAVLIB_PROTOCOL_PACKET_H

#include <tavlib/export.h>
#include <tavlib/protocol/blowfish.h>

/// One message to or from a TAV server: 4096 bytes of memory, whatever its length word says.
///
/// Every integer in it is big-endian. Texts in the data area are 16-bit little-endian units.
struct _TAVPACKET {
  unsigned char length[4];      ///< Offset 0: total length in bytes, header included; 100 to 4096.
  unsigned char code;           ///< Offset 4: request code; a reply adds its flags.
  unsigned char reserved[3];    ///< Offset 5: not set by the library.
  unsigned char requestId[4];   ///< Offset 8: set when sent; a reply has that of its request.
  unsigned char digest[16];     ///< Offset 12: keyed MD5.
  unsigned char arguments[68];  ///< Offset 28: by request code.
  unsigned char data[4000];     ///< Offset 96: texts and byte blocks of entries.
};
typedef struct _TAVPACKET _TAVPACKET;

/// Request codes.
enum {
  TAV_REQUEST_VERSION = 1,     ///< No arguments; the reply has the server's version at offset 28.
  TAV_REQUEST_ADDENTRY = 2,    ///< Count at offset 28, entry descriptor at 32.
  TAV_REQUEST_QUERYENTRY = 3,  ///< Three argument words at offset 28, the filter's descriptor at 40.
  TAV_REQUEST_LISTEN = 4,      ///< 16-bit port at offset 28.
  TAV_REQUEST_LISTENSTOP = 5   ///< No arguments.
};

/// Reply flags, in the high bits of a reply's code byte.
enum {
  TAV_REPLY_FINAL = 0x80,   ///< Final reply.
  TAV_REPLY_ERROR = 0x40,   ///< With TAV_REPLY_FINAL: the server refused or failed the request.
  TAV_REPLY_INTERIM = 0x20  ///< The server is still working; takes precedence over the other flags.
};

TAVLIB_BEGIN_C

/// Stores the packet's keyed digest in it: MD5 over the bytes that its length word gives, with `key` in place
/// of the digest.
///
/// Returns 1, or 0 with nothing written when the length word is below 100 or above 4096.
TAVLIB_API int MakeMd5Sum(_TAVPACKET* packet, const unsigned char key[16]);

/// 1 when the packet's digest is the one that MakeMd5Sum would store. 0 when it is not, and for the lengths
/// that MakeMd5Sum refuses.
///
/// The packet is changed meanwhile and restored.
TAVLIB_API int VerifyMd5Sum(_TAVPACKET* packet, const unsigned char key[16]);

/// Undoes a request's framing, as a server does: deciphers `datagram` into `packet`, of which at most `size`
/// bytes are written.
///
/// `datagram` is 4 bytes of cipher length L, big-endian, and L bytes of cipher text. It must have 4 + L + 8
/// readable bytes: one block is deciphered past the last one.
///
/// Returns
///   0                deciphered
///   TAV_E_NOMEMORY   memory ran out; nothing is written
///   TAV_E_BADPACKET  L exceeds 8192 or is no multiple of 8, and nothing is written; or the deciphered length
///                    word exceeds 4096, and `packet` is written
TAVLIB_API unsigned DeBlowPacket(_TAVPACKET* packet, unsigned size, const unsigned char* datagram,
                                 CBlowfish* cipher);

TAVLIB_END_C

#endif
