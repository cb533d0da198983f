#ifndef TAVLIB_TESTS_PROTOCOL_ENTRY_WIDTHS_H
#define TAVLIB_TESTS_PROTOCOL_ENTRY_WIDTHS_H

#include <gtest/gtest.h>
#include <tavlib/protocol/entry.h>

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// The entry routines exist for 8-bit and for wide texts. A typed test over tavtest::Widths runs once for
// each.

namespace tavtest {

struct Narrow {
  using Char = char;
  using Entry = _TAVENTRYA;
  static constexpr auto marshal = MarshalTAVEntryA;
  static constexpr auto demarshal = DeMarshalTAVEntryA;
  static constexpr auto dup = TAVEntryDupA;
  static constexpr auto compare = TAVEntryCompareA;
};

struct Wide {
  using Char = wchar_t;
  using Entry = _TAVENTRYW;
  static constexpr auto marshal = MarshalTAVEntryW;
  static constexpr auto demarshal = DeMarshalTAVEntryW;
  static constexpr auto dup = TAVEntryDupW;
  static constexpr auto compare = TAVEntryCompareW;
};

using Widths = ::testing::Types<Narrow, Wide>;

/// The text in the width's characters; each byte becomes one character of the same number.
template <class Width>
std::basic_string<typename Width::Char> widen(std::string_view text) {
  std::basic_string<typename Width::Char> result;
  for (char c : text)
    result.push_back(static_cast<typename Width::Char>(static_cast<unsigned char>(c)));
  return result;
}

/// The numbers of a text's characters, whichever its width.
template <class Char>
std::u32string codes(const Char* text, std::size_t count) {
  std::u32string result;
  for (std::size_t i = 0; i < count; ++i) {
    result.push_back(static_cast<char32_t>(static_cast<std::make_unsigned_t<Char>>(text[i])));
  }
  return result;
}

/// The same up to the text's end; "(null)" for a null pointer.
template <class Char>
std::u32string codes(const Char* text) {
  return text == nullptr ? U"(null)" : codes(text, std::char_traits<Char>::length(text));
}

/// An entry as a caller builds it: the texts belong to this object, nothing to the entry.
template <class Width>
class CallerEntry {
 public:
  using Char = typename Width::Char;

  typename Width::Entry entry{};

  CallerEntry& user(std::string_view text) { return set(entry.user, widen<Width>(text)); }
  CallerEntry& string2(std::string_view text) { return set(entry.string2, widen<Width>(text)); }
  CallerEntry& string3(std::string_view text) { return set(entry.string3, widen<Width>(text)); }
  CallerEntry& data(std::string bytes) {
    blocks_.push_back(std::move(bytes));
    entry.data = reinterpret_cast<unsigned char*>(blocks_.back().data());
    entry.dataLength = static_cast<std::uint32_t>(blocks_.back().size());
    return *this;
  }
  CallerEntry& set(Char*& field, std::basic_string<Char> text) {
    texts_.push_back(std::move(text));
    field = texts_.back().data();
    return *this;
  }

 private:
  std::deque<std::basic_string<Char>> texts_;
  std::deque<std::string> blocks_;
};

/// An entry that a library routine fills, and that then owns its texts and block.
template <class Width>
class OwnedEntry {
 public:
  typename Width::Entry entry{};

  OwnedEntry() = default;
  OwnedEntry(const OwnedEntry&) = delete;
  OwnedEntry& operator=(const OwnedEntry&) = delete;
  ~OwnedEntry() { DeMarshalFreeStrings(entry); }

  /// The entry to hand to a routine. It is full of rubbish, its pointers included: a routine has to set every
  /// field without looking at it.
  typename Width::Entry& target() {
    DeMarshalFreeStrings(entry);
    entry.user = entry.string2 = entry.string3 = reinterpret_cast<typename Width::Char*>(kRubbish);
    entry.data = reinterpret_cast<unsigned char*>(kRubbish);
    entry.userLength = entry.string2Length = entry.string3Length = entry.dataLength = 0xEEEEEEEE;
    return entry;
  }

  typename Width::Entry* operator->() { return &entry; }

 private:
  static constexpr std::uintptr_t kRubbish = 0x10;
};

/// Passes when the entry holds no memory.
template <class Entry>
::testing::AssertionResult owns_nothing(const Entry& entry) {
  if (entry.user == nullptr && entry.string2 == nullptr && entry.string3 == nullptr &&
      entry.data == nullptr) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "an owned pointer is not null";
}

}  // namespace tavtest

#endif
