#ifndef TAVLIB_TESTS_SERVERS_SAMPLE_ENTRY_H
#define TAVLIB_TESTS_SERVERS_SAMPLE_ENTRY_H

#include <tavlib/protocol/entry.h>

#include <string>

#include "support/wire_packet.h"

namespace tavtest {

/// One entry in its three forms: as it goes over the wire, and as the two records. Every field has a value of
/// its own.
inline WireEntry sample_on_wire() {
  WireEntry entry;
  entry.tag = 0x01020304;
  entry.user = u"alice";
  entry.string2 = u"Host.One";
  entry.string3 = u"x'y";
  entry.data = {0xde, 0xad, 0x00, 0xbe, 0xef};
  entry.address = 0x11223344;
  entry.word7 = 0x70000007;
  entry.flag8 = 1;
  entry.word9 = 0x90000009;
  entry.word10 = 0xa000000a;
  entry.word11 = 0xb000000b;
  entry.word12 = 0xc000000c;
  entry.word13 = 0xd000000d;
  entry.word14 = 0xe000000e;
  return entry;
}

template <typename Record>
void set_sample_words(Record& record) {
  static unsigned char data[] = {0xde, 0xad, 0x00, 0xbe, 0xef};
  record.tag = 0x01020304;
  record.data = data;
  record.dataLength = sizeof data;
  record.address = 0x11223344;
  record.word7 = 0x70000007;
  record.flag8 = 1;
  record.word9 = 0x90000009;
  record.word10 = 0xa000000a;
  record.word11 = 0xb000000b;
  record.word12 = 0xc000000c;
  record.word13 = 0xd000000d;
  record.word14 = 0xe000000e;
}

/// The records' texts and block are shared by all samples and outlive them.
template <typename Record>
Record sample_record();

template <>
inline _TAVENTRYW sample_record<_TAVENTRYW>() {
  static wchar_t user[] = L"alice";
  static wchar_t string2[] = L"Host.One";
  static wchar_t string3[] = L"x'y";
  _TAVENTRYW record{};
  set_sample_words(record);
  record.user = user;
  record.string2 = string2;
  record.string3 = string3;
  return record;
}

template <>
inline _TAVENTRYA sample_record<_TAVENTRYA>() {
  static char user[] = "alice";
  static char string2[] = "Host.One";
  static char string3[] = "x'y";
  _TAVENTRYA record{};
  set_sample_words(record);
  record.user = user;
  record.string2 = string2;
  record.string3 = string3;
  return record;
}

/// An entry with nothing but a user of `length` characters, which outlives it. 999 fill a packet to its last
/// byte.
template <typename Record>
Record long_entry(std::size_t length);

template <>
inline _TAVENTRYW long_entry<_TAVENTRYW>(std::size_t length) {
  static std::wstring user;
  user.assign(length, L'u');
  _TAVENTRYW record{};
  record.user = user.data();
  return record;
}

template <>
inline _TAVENTRYA long_entry<_TAVENTRYA>(std::size_t length) {
  static std::string user;
  user.assign(length, 'u');
  _TAVENTRYA record{};
  record.user = user.data();
  return record;
}

}  // namespace tavtest

#endif
