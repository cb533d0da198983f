#ifndef TAVLIB_PROTOCOL_ENTRY_H
#define TAVLIB_PROTOCOL_ENTRY_H

// User/address entries: two records, one with 8-bit and one with wide texts, and the routines that copy,
// compare, convert and carry them in packets.
//
// A record that a routine here filled owns its three texts and its block, all from malloc;
// DeMarshalFreeStrings releases them. A record that a caller built owns nothing as far as these routines are
// concerned. Every routine may be called from any thread on records of its own.

#include <stdint.h>
#include <tavlib/export.h>
#include <tavlib/protocol/packet.h>
#include <wchar.h>

/// One entry with 8-bit texts.
struct _TAVENTRYA {
  uint32_t tag;         ///< Opaque, carried as it is.
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

/// Writes an entry into a packet, or measures it. With `packet` null, stores the measured size in bytes in
/// `*size` and returns 1. Otherwise `*size` is the room in `packet` and the packet's code byte must be set:
/// an entry query (3) takes one entry at its fixed place, any other code a count word and `count`
/// descriptors. Writes the length word, the descriptors and the data; whatever lies between stays as it was.
///
/// `count` is 1 in practice: with more, every entry is measured, the first is written each time, and the
/// descriptors behind the first share their place with the data. The measure takes a cached length that is
/// not 0 for a text's size, a null text's too; what is written is the text itself, and of a null text
/// nothing. A null block counts as empty. Texts go out as they are, quotes included; a wide character sends
/// its low 16 bits, and one whose low 16 bits are zero ends the text there.
///
/// 1; or 0 with OS error 79 and nothing written when the measured size exceeds `*size` or 4096 bytes, or when
/// the texts as they stand would (a cached length that is out of date).
TAVLIB_API int MarshalTAVEntryA(const _TAVENTRYA* entries, _TAVPACKET* packet, unsigned* size,
                                unsigned count);
TAVLIB_API int MarshalTAVEntryW(const _TAVENTRYW* entries, _TAVPACKET* packet, unsigned* size,
                                unsigned count);

/// Reads descriptor `index` of a packet (the only one when the code byte is 3) into `entry`, which then owns
/// its texts and block; what it held before is not released. Texts arrive in upper case, with '.' for every
/// quote.
///
/// 1; or 0 with OS error ENOMEM, all four pointers null, when memory runs out, when a text's four bytes for
/// each character or the block would end more than 96 bytes behind the end that the length word gives, or
/// when the descriptor lies outside the packet's 4096 bytes. What lies behind those reads as zero.
TAVLIB_API int DeMarshalTAVEntryA(TAVLIB_REF(_TAVENTRYA) entry, const _TAVPACKET* packet, unsigned index);
TAVLIB_API int DeMarshalTAVEntryW(TAVLIB_REF(_TAVENTRYW) entry, const _TAVPACKET* packet, unsigned index);

/// Makes `dst` a deep copy of `src`; what `dst` held is not released. A text's cached length is counted
/// afresh, that of a null text is copied. 1; or 0, all four pointers null and no error code set, when memory
/// runs out.
TAVLIB_API int TAVEntryDupA(TAVLIB_REF(_TAVENTRYA) dst, TAVLIB_REF(const _TAVENTRYA) src);
TAVLIB_API int TAVEntryDupW(TAVLIB_REF(_TAVENTRYW) dst, TAVLIB_REF(const _TAVENTRYW) src);

/// 1 when every field that `mask` selects matches, else 0. Bits: 0x001 `user`, 0x002 `string2`, 0x004
/// `string3` (case matters; null matches only null), 0x008 `data` (the same pointer with the same length, or
/// both null: equal contents in two buffers do not match), 0x010 `address`, 0x020 `word7`, 0x040 `flag8` (as
/// true or false), 0x080 `word9`, 0x100 `word10`, 0x200 `word11`, 0x400 `word12`. Higher bits are ignored.
TAVLIB_API int TAVEntryCompareA(TAVLIB_REF(const _TAVENTRYA) a, TAVLIB_REF(const _TAVENTRYA) b,
                                unsigned mask);
TAVLIB_API int TAVEntryCompareW(TAVLIB_REF(const _TAVENTRYW) a, TAVLIB_REF(const _TAVENTRYW) b,
                                unsigned mask);

/// Makes `dst` a deep copy of `src` with its texts converted by the process's current locale, which the
/// library never sets; what `dst` held is not released. The cached lengths are the source's character counts,
/// 0 for a null text. 1; or 0, all four pointers null, when memory runs out or the locale cannot convert a
/// text.
TAVLIB_API int EntryAToW(TAVLIB_REF(_TAVENTRYW) dst, TAVLIB_REF(const _TAVENTRYA) src);
TAVLIB_API int EntryWToA(TAVLIB_REF(_TAVENTRYA) dst, TAVLIB_REF(const _TAVENTRYW) src);

#ifdef __cplusplus

/// Releases the texts and the block of a record that owns them and sets the four pointers to null; the other
/// fields stay. A C host has one function for both records.
TAVLIB_API void DeMarshalFreeStrings(_TAVENTRYA& entry);
TAVLIB_END_C
TAVLIB_API void DeMarshalFreeStrings(_TAVENTRYW& entry);

#else

/// Releases the texts and the block of a record of either width that owns them, as told above.
TAVLIB_API void DeMarshalFreeStrings(void* entry);

#endif

#endif
