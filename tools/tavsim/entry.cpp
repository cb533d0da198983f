#include "tavsim/entry.h"

#include <algorithm>

namespace tavsim {
namespace {

char16_t fold(char16_t unit) {
  if (unit == u'\'' || unit == u'"') return u'.';
  const bool ascii = unit >= u'a' && unit <= u'z';
  const bool latin1 = unit >= 0xe0 && unit <= 0xfe && unit != 0xf7;
  return ascii || latin1 ? static_cast<char16_t>(unit - 0x20) : unit;
}

struct TextField {
  MatchBit bit;
  std::u16string Entry::*text;
};
constexpr TextField text_fields[] = {
    {match_user, &Entry::user}, {match_string2, &Entry::string2}, {match_string3, &Entry::string3}};

struct WordField {
  MatchBit bit;
  std::uint32_t Entry::*word;
};
constexpr WordField word_fields[] = {{match_address, &Entry::address}, {match_word7, &Entry::word7},
                                     {match_word9, &Entry::word9},     {match_word10, &Entry::word10},
                                     {match_word11, &Entry::word11},   {match_word12, &Entry::word12}};

}  // namespace

bool same_text(const std::u16string& left, const std::u16string& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char16_t a, char16_t b) { return fold(a) == fold(b); });
}

bool matches(const Entry& entry, const Entry& filter, std::uint32_t mask) {
  for (const WordField& field : word_fields) {
    if ((mask & field.bit) != 0 && entry.*field.word != filter.*field.word) return false;
  }
  for (const TextField& field : text_fields) {
    if ((mask & field.bit) != 0 && !same_text(entry.*field.text, filter.*field.text)) return false;
  }
  if ((mask & match_flag8) != 0 && (entry.flag8 != 0) != (filter.flag8 != 0)) return false;
  return (mask & match_data) == 0 || entry.data == filter.data;
}

}  // namespace tavsim
