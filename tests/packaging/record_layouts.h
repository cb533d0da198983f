/* The shape of every public record, for hosts in any language: size, alignment and the place of each field,
 * with 32-bit and with 64-bit pointers. It is checked while this is compiled, as C and as C++. */

#include <assert.h>
#include <stddef.h>
#include <tavlib/tavlib.h>

#if UINTPTR_MAX == 0xffffffff
#define ON(bits32, bits64) bits32
#else
#define ON(bits32, bits64) bits64
#endif

#ifdef __cplusplus
#define ALIGNMENT(type) alignof(type)
#else
#define ALIGNMENT(type) _Alignof(type)
#endif

#define RECORD(type, bits32, bits64, alignment)             \
  static_assert(sizeof(type) == ON(bits32, bits64), #type); \
  static_assert(ALIGNMENT(type) == (alignment), "alignment of " #type)
#define FIELD(type, field, bits32, bits64) \
  static_assert(offsetof(type, field) == ON(bits32, bits64), #type "::" #field)

#define ENTRY(type)                   \
  RECORD(type, 72, 96, ON(4, 8));     \
  FIELD(type, tag, 0, 0);             \
  FIELD(type, user, 4, 8);            \
  FIELD(type, string2, 8, 16);        \
  FIELD(type, string3, 12, 24);       \
  FIELD(type, data, 16, 32);          \
  FIELD(type, dataLength, 20, 40);    \
  FIELD(type, address, 24, 44);       \
  FIELD(type, word7, 28, 48);         \
  FIELD(type, flag8, 32, 52);         \
  FIELD(type, word9, 36, 56);         \
  FIELD(type, word10, 40, 60);        \
  FIELD(type, word11, 44, 64);        \
  FIELD(type, word12, 48, 68);        \
  FIELD(type, word13, 52, 72);        \
  FIELD(type, word14, 56, 76);        \
  FIELD(type, userLength, 60, 80);    \
  FIELD(type, string2Length, 64, 84); \
  FIELD(type, string3Length, 68, 88)

ENTRY(_TAVENTRYA);
ENTRY(_TAVENTRYW);

RECORD(_TAVPACKET, 4096, 4096, 1);
FIELD(_TAVPACKET, length, 0, 0);
FIELD(_TAVPACKET, code, 4, 4);
FIELD(_TAVPACKET, reserved, 5, 5);
FIELD(_TAVPACKET, requestId, 8, 8);
FIELD(_TAVPACKET, digest, 12, 12);
FIELD(_TAVPACKET, arguments, 28, 28);
FIELD(_TAVPACKET, data, 96, 96);

RECORD(TAVASYNC, 8, 16, ON(4, 8));
FIELD(TAVASYNC, Context, 0, 0);
FIELD(TAVASYNC, Request, 4, 8);

#ifdef __cplusplus

using Request = ServerInterface::ASyncRequest;
RECORD(Request, 4120, 4144, ON(4, 8));
FIELD(Request, handle, 0, 0);
FIELD(Request, context, 4, 8);
FIELD(Request, completion, 8, 16);
FIELD(Request, registeredId, 12, 24);
FIELD(Request, packet, 16, 28);
FIELD(Request, owner, 4112, 4128);
FIELD(Request, status, 4116, 4136);

using Value = ARegistryData::Entry;
RECORD(Value, 16, 32, ON(4, 8));
FIELD(Value, name, 0, 0);
FIELD(Value, type, 4, 8);
FIELD(Value, data, 8, 16);
FIELD(Value, size, 12, 24);

RECORD(tavexception, 4, 4, 4);
FIELD(tavexception, code, 0, 0);

RECORD(ATlsException, 4, 4, 4);
FIELD(ATlsException, code, 0, 0);

RECORD(WtoAException, 4, 4, 4);
FIELD(WtoAException, code, 0, 0);

/* Its other part is std::bad_alloc's. */
RECORD(ARegistryException, 8, 16, ON(4, 8));

#endif
