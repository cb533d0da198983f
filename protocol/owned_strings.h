#ifndef TAVLIB_OWNED_STRINGS_H
#define TAVLIB_OWNED_STRINGS_H

#include <tavlib/protocol/entry.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "protocol/entry_layout.h"

/// The heap blocks that a record owns.
namespace tavlib {

/// Sets the texts and the block to null without freeing them.
template <typename Record>
void clear_pointers(Record& entry) {
  entry.user = nullptr;
  entry.string2 = nullptr;
  entry.string3 = nullptr;
  entry.data = nullptr;
}

/// Room for `count` characters from malloc; null when memory runs out.
template <typename Character>
Character* allocate_text(std::size_t count) {
  return static_cast<Character*>(std::malloc(count * sizeof(Character)));
}

/// Stores a copy of the block of `source`, if it has one, in `target`. False when memory runs out.
template <typename Target, typename Source>
bool copy_block(Target& target, const Source& source) {
  const std::uint32_t length = block_length(source);
  if (length == 0) return true;
  target.data = static_cast<unsigned char*>(std::malloc(length));
  if (target.data == nullptr) return false;
  std::memcpy(target.data, source.data, length);
  return true;
}

}  // namespace tavlib

#endif
