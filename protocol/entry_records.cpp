#include <tavlib/platform/wide_strings.h>
#include <tavlib/protocol/entry.h>

#include <cstring>
#include <cwchar>

#include "protocol/entry_layout.h"
#include "protocol/owned_strings.h"

namespace tavlib {

namespace {

enum Mask : unsigned {
  kUser = 0x001,
  kString2 = 0x002,
  kString3 = 0x004,
  kData = 0x008,
  kAddress = 0x010,
  kWord7 = 0x020,
  kFlag8 = 0x040,
  kWord9 = 0x080,
  kWord10 = 0x100,
  kWord11 = 0x200,
  kWord12 = 0x400,
};

char* duplicate(const char* text) {
  return strdup(text);
}
wchar_t* duplicate(const wchar_t* text) {
  return wcsdup(text);
}

bool equal(const char* a, const char* b) {
  return std::strcmp(a, b) == 0;
}
bool equal(const wchar_t* a, const wchar_t* b) {
  return std::wcscmp(a, b) == 0;
}

template <typename Character>
bool same_text(const Character* a, const Character* b) {
  return a == nullptr || b == nullptr ? a == b : equal(a, b);
}

// Two blocks match only when they are the same one, so their bytes are not compared.
template <typename Record>
bool same_block(const Record& a, const Record& b) {
  return a.data == b.data && (a.data == nullptr || a.dataLength == b.dataLength);
}

// A null text keeps the cached length of the source.
template <typename Record>
bool copy_texts(Record& target, const Record& source) {
  // NOLINTNEXTLINE(readability-use-anyofallof): the loop fills the record
  for (const auto& field : kTextFields<Record>) {
    const auto* text = source.*field.text;
    if (text == nullptr) continue;
    target.*field.length = static_cast<std::uint32_t>(text_length(text));
    target.*field.text = duplicate(text);
    if (target.*field.text == nullptr) return false;
  }
  return true;
}

template <typename Record>
int copy_entry(Record& target, const Record& source) {
  const Record original = source;
  target = original;
  clear_pointers(target);
  if (copy_texts(target, original) && copy_block(target, original)) return 1;
  DeMarshalFreeStrings(target);
  return 0;
}

template <typename Record>
bool matches(const Record& a, const Record& b, unsigned mask) {
  const auto selected = [mask](unsigned bit) { return (mask & bit) != 0; };
  return (!selected(kUser) || same_text(a.user, b.user)) &&
         (!selected(kString2) || same_text(a.string2, b.string2)) &&
         (!selected(kString3) || same_text(a.string3, b.string3)) &&
         (!selected(kData) || same_block(a, b)) &&                   //
         (!selected(kAddress) || a.address == b.address) &&          //
         (!selected(kWord7) || a.word7 == b.word7) &&                //
         (!selected(kFlag8) || (a.flag8 != 0) == (b.flag8 != 0)) &&  //
         (!selected(kWord9) || a.word9 == b.word9) &&                //
         (!selected(kWord10) || a.word10 == b.word10) &&             //
         (!selected(kWord11) || a.word11 == b.word11) &&             //
         (!selected(kWord12) || a.word12 == b.word12);
}

template <typename Record>
void free_strings(Record& entry) {
  std::free(entry.user);
  std::free(entry.string2);
  std::free(entry.string3);
  std::free(entry.data);
  clear_pointers(entry);
}

}  // namespace

}  // namespace tavlib

int TAVEntryDupA(_TAVENTRYA& dst, const _TAVENTRYA& src) {
  return tavlib::copy_entry(dst, src);
}

int TAVEntryDupW(_TAVENTRYW& dst, const _TAVENTRYW& src) {
  return tavlib::copy_entry(dst, src);
}

int TAVEntryCompareA(const _TAVENTRYA& a, const _TAVENTRYA& b, unsigned mask) {
  return tavlib::matches(a, b, mask) ? 1 : 0;
}

int TAVEntryCompareW(const _TAVENTRYW& a, const _TAVENTRYW& b, unsigned mask) {
  return tavlib::matches(a, b, mask) ? 1 : 0;
}

void DeMarshalFreeStrings(_TAVENTRYA& entry) {
  tavlib::free_strings(entry);
}

void DeMarshalFreeStrings(_TAVENTRYW& entry) {
  tavlib::free_strings(entry);
}
