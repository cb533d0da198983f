#ifndef TAVSIM_ENTRY_H
#define TAVSIM_ENTRY_H

#include <cstdint>
#include <string>

#include "tavsim/bytes.h"

namespace tavsim {

/// One user/address entry. Texts are the 16-bit units that travel; an absent text and an empty one are the
/// same.
struct Entry {
  std::uint32_t tag = 0;
  std::u16string user;
  std::u16string string2;
  std::u16string string3;
  Bytes data;
  std::uint32_t address = 0;  ///< The first part of the dotted quad in the lowest byte.
  std::uint32_t word7 = 0;
  std::uint32_t flag8 = 0;  ///< Zero or non-zero.
  std::uint32_t word9 = 0;
  std::uint32_t word10 = 0;
  std::uint32_t word11 = 0;
  std::uint32_t word12 = 0;
  std::uint32_t word13 = 0;  ///< In replies and cursors: the number of the next entry to look at.
  std::uint32_t word14 = 0;

  bool operator==(const Entry&) const = default;
};

/// Bits of a query's first argument word. Each selects a field that must match; higher bits are the asker's
/// own.
enum MatchBit : std::uint32_t {
  match_user = 0x001,
  match_string2 = 0x002,
  match_string3 = 0x004,
  match_data = 0x008,
  match_address = 0x010,
  match_word7 = 0x020,
  match_flag8 = 0x040,
  match_word9 = 0x080,
  match_word10 = 0x100,
  match_word11 = 0x200,
  match_word12 = 0x400
};

/// True when every field that `mask` selects matches. Texts match without regard to case, and a quote matches
/// '.': a client sends back what it received, and it receives texts in upper case with quotes replaced. Case
/// is known for Latin-1 letters. `data` matches by content, `flag8` as true or false.
bool matches(const Entry& entry, const Entry& filter, std::uint32_t mask);

/// True when two texts are the same under the rule of `matches`.
bool same_text(const std::u16string& left, const std::u16string& right);

}  // namespace tavsim

#endif
