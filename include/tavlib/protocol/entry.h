#ifndef TAVLIB_PROTOCOL_ENTRY_H
#define TAVLIB_PROTOCOL_ENTRY_H

// User/address entries: two records, one with 8-bit and one with wide texts, and the routines that copy,
// compare and convert them, write them to packets and read them from packets.
//
// - A record that a routine here filled owns its three texts and its block, all from malloc.
//   DeMarshalFreeStrings frees them.
// - A record that a caller built owns nothing, as far as these routines are concerned.
// - Error codes are operating-system errors (tavlib/platform/error_state.h).
//
// Threads: every routine may be called from any thread on records of its own.

#include <stdint.h>
#include <tavlib/export.h>
#include <tavlib/protocol/packet.h>
#include <wchar.h>

/// One entry with 8-bit texts.
struct _TAVENTRYA {
  uint32_t tag;         ///< Opaque; sent and received as it is.
  char* user;           ///< First text: the user's name. May be null, as the other texts.
  char* string2;        ///< Second text.
  char* string3;        ///< Third text: the second answer of a single-sign-on look-up.
  unsigned char* data;  ///< Opaque block of `dataLength` bytes, or null.
  uint32_t dataLength;  ///< Bytes at `data`; a packet has room for 3996.
  uint32_t address;     ///< IPv4 address; by convention inet_addr's number on a little-endian host.
  uint32_t word7;       ///< Opaque.
  uint32_t flag8;       ///< True or false.
  uint32_t word9;       ///< Opaque, as `word10` and `word11`.
  uint32_t word10;
  uint32_t word11;
  uint32_t word12;  ///< Not 0 in an answer: no user is at the address.
  uint32_t word13;  ///< Opaque, as `word14`.
  uint32_t word14;
  uint32_t userLength;  ///< Cached character count of `user`; 0 when unknown. The next two likewise.
  uint32_t string2Length;
  uint32_t string3Length;
};
typedef struct _TAVENTRYA _TAVENTRYA;

/// One entry with wide texts; otherwise as _TAVENTRYA.
struct _TAVENTRYW {
  uint32_t tag;
  wchar_t* user;
  wchar_t* string2;
  wchar_t* string3;
  unsigned char* data;
  uint32_t dataLength;
  uint32_t address;
  uint32_t word7;
  uint32_t flag8;
  uint32_t word9;
  uint32_t word10;
  uint32_t word11;
  uint32_t word12;
  uint32_t word13;
  uint32_t word14;
  uint32_t userLength;
  uint32_t string2Length;
  uint32_t string3Length;
};
typedef struct _TAVENTRYW _TAVENTRYW;

TAVLIB_BEGIN_C

/// Writes an entry into a packet, or measures it.
///
/// With `packet` null, the measured size in bytes is stored in `*size`.
///
/// Otherwise `*size` is the room in `packet`, and the packet's code byte must be set: TAV_REQUEST_QUERYENTRY
/// has one entry at its fixed place, any other code a count word and `count` descriptors. The length word,
/// the descriptors and the data are written; all other bytes stay as they were.
///
/// Returns
///   1                    measured or written
///   0, buffer too small  the measured size exceeds `*size` or 4096 bytes, or the texts as they stand do (a
///                        cached length that is out of date); nothing is written
///
/// What is measured and written:
///   - A cached length that is not 0 is measured as the text's size, that of a null text, too. What is
///     written is the text itself, and nothing of a null text.
///   - A null block is an empty one.
///   - Texts are written as they are, quotes included. A wide character is written as its low 16 bits; one
///     whose low 16 bits are zero ends the text there.
///
/// `count` is 1 in practice. With more, every entry is measured, but the first one is written each time, and
/// the descriptors after the first share their place with the data.
TAVLIB_API int MarshalTAVEntryA(const _TAVENTRYA* entries, _TAVPACKET* packet, unsigned* size,
                                unsigned count);
TAVLIB_API int MarshalTAVEntryW(const _TAVENTRYW* entries, _TAVPACKET* packet, unsigned* size,
                                unsigned count);

/// Reads descriptor `index` of a packet into `entry`, which then owns its texts and block. With code
/// TAV_REQUEST_QUERYENTRY a packet has only one descriptor, which is read whatever `index` is. What `entry`
/// held before is not freed. Received texts are stored in upper case, with '.' for every quote.
///
/// Returns
///   1          read
///   0, ENOMEM  all four pointers are null, because
///              - memory ran out,
///              - a text (four bytes for each character) or the block would end more than 96 bytes after the
///                end that the length word gives, or
///              - the descriptor lies outside the packet's 4096 bytes
///
/// What lies past the packet's 4096 bytes reads as zero.
TAVLIB_API int DeMarshalTAVEntryA(TAVLIB_REF(_TAVENTRYA) entry, const _TAVPACKET* packet, unsigned index);
TAVLIB_API int DeMarshalTAVEntryW(TAVLIB_REF(_TAVENTRYW) entry, const _TAVPACKET* packet, unsigned index);

/// Makes `dst` a deep copy of `src`. What `dst` held is not freed. A text's cached length becomes its length;
/// that of a null text is copied.
///
/// Returns 1; or 0, all four pointers null and no error code set, when memory runs out.
TAVLIB_API int TAVEntryDupA(TAVLIB_REF(_TAVENTRYA) dst, TAVLIB_REF(const _TAVENTRYA) src);
TAVLIB_API int TAVEntryDupW(TAVLIB_REF(_TAVENTRYW) dst, TAVLIB_REF(const _TAVENTRYW) src);

/// 1 when every field that `mask` selects matches, else 0. Bits:
///   0x001  `user`      texts: case matters, and null matches only null
///   0x002  `string2`   as `user`
///   0x004  `string3`   as `user`
///   0x008  `data`      the same pointer with the same length, or both null; equal contents in two buffers do
///                      not match
///   0x010  `address`
///   0x020  `word7`
///   0x040  `flag8`     as true or false
///   0x080  `word9`
///   0x100  `word10`
///   0x200  `word11`
///   0x400  `word12`
/// Higher bits are ignored.
TAVLIB_API int TAVEntryCompareA(TAVLIB_REF(const _TAVENTRYA) a, TAVLIB_REF(const _TAVENTRYA) b,
                                unsigned mask);
TAVLIB_API int TAVEntryCompareW(TAVLIB_REF(const _TAVENTRYW) a, TAVLIB_REF(const _TAVENTRYW) b,
                                unsigned mask);

/// Makes `dst` a deep copy of `src` with its texts converted by the process's current locale, which the
/// library never sets. What `dst` held is not freed. The cached lengths are the source's character counts, 0
/// for a null text.
///
/// Returns 1; or 0, all four pointers null, when memory runs out or the locale cannot convert a text.
TAVLIB_API int EntryAToW(TAVLIB_REF(_TAVENTRYW) dst, TAVLIB_REF(const _TAVENTRYA) src);
TAVLIB_API int EntryWToA(TAVLIB_REF(_TAVENTRYA) dst, TAVLIB_REF(const _TAVENTRYW) src);

#ifdef __cplusplus

/// Frees the texts and the block of a record that owns them, and sets the four pointers to null. The other
/// fields stay. A C host has one function for both records.
TAVLIB_API void DeMarshalFreeStrings(_TAVENTRYA& entry);
TAVLIB_END_C
TAVLIB_API void DeMarshalFreeStrings(_TAVENTRYW& entry);

#else

/// Frees the texts and the block of a record of either width that owns them, and sets the four pointers to
/// null. The other fields stay.
TAVLIB_API void DeMarshalFreeStrings(void* entry);

#endif

#endif
