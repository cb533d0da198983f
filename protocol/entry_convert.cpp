#include <tavlib/protocol/entry.h>

#include <cstdlib>

#include "protocol/entry_layout.h"
#include "protocol/owned_strings.h"

namespace tavlib {

namespace {

constexpr auto kUnconvertible = static_cast<std::size_t>(-1);

// The number of characters of `text` in the other width, without its terminator; kUnconvertible when the
// locale cannot convert it.
std::size_t converted_length(const wchar_t* text) {
  return std::wcstombs(nullptr, text, 0);
}
std::size_t converted_length(const char* text) {
  return std::mbstowcs(nullptr, text, 0);
}

// converted_length succeeded before, so these cannot fail.
void convert(char* target, const wchar_t* text, std::size_t room) {
  static_cast<void>(std::wcstombs(target, text, room));
}
void convert(wchar_t* target, const char* text, std::size_t room) {
  static_cast<void>(std::mbstowcs(target, text, room));
}

// A multibyte form may be longer than the source's character count: it is stored whole.
template <typename Target, typename Source>
bool convert_text(Target*& target, const Source* text) {
  const std::size_t length = converted_length(text);
  if (length == kUnconvertible) return false;
  target = allocate_text<Target>(length + 1);
  if (target == nullptr) return false;
  convert(target, text, length + 1);
  return true;
}

template <typename Target, typename Source>
void copy_words(Target& target, const Source& source) {
  for (std::size_t i = 0; i < kWordFields<Source>.size(); ++i) {
    target.*kWordFields<Target>[i].word = source.*kWordFields<Source>[i].word;
  }
  for (std::size_t i = 0; i < kTextFields<Source>.size(); ++i) {
    target.*kTextFields<Target>[i].length = source.*kTextFields<Source>[i].length;
  }
  target.dataLength = source.dataLength;
}

// A text that could not be converted keeps the cached length of its source.
template <typename Target, typename Source>
bool convert_texts(Target& target, const Source& source) {
  for (std::size_t i = 0; i < kTextFields<Source>.size(); ++i) {
    const auto* text = source.*kTextFields<Source>[i].text;
    if (text != nullptr && !convert_text(target.*kTextFields<Target>[i].text, text)) return false;
    target.*kTextFields<Target>[i].length = static_cast<std::uint32_t>(text_length(text));
  }
  return true;
}

template <typename Target, typename Source>
int convert_entry(Target& target, const Source& source) {
  copy_words(target, source);
  clear_pointers(target);
  if (convert_texts(target, source) && copy_block(target, source)) return 1;
  DeMarshalFreeStrings(target);
  return 0;
}

}  // namespace

}  // namespace tavlib

int EntryAToW(_TAVENTRYW& dst, const _TAVENTRYA& src) {
  return tavlib::convert_entry(dst, src);
}

int EntryWToA(_TAVENTRYA& dst, const _TAVENTRYW& src) {
  return tavlib::convert_entry(dst, src);
}
