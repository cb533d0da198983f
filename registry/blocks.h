#ifndef TAVLIB_REGISTRY_BLOCKS_H
#define TAVLIB_REGISTRY_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

// The registry's blocks come from malloc, so that hosts in any language can pass blocks of their own.

namespace tavlib {

/// A copy of `size` bytes, in a block of its own also when `size` is 0; null when memory runs out.
inline void* try_copy_block(const void* bytes, std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr && size != 0) std::memcpy(block, bytes, size);
  return block;
}

/// The same, but throws std::bad_alloc when memory runs out.
inline void* copy_block(const void* bytes, std::size_t size) {
  void* block = try_copy_block(bytes, size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

/// A copy of a text with its terminator; null when memory runs out.
inline char* try_copy_text(const char* text) {
  return static_cast<char*>(try_copy_block(text, std::strlen(text) + 1));
}

/// The same, but throws std::bad_alloc when memory runs out.
inline char* copy_text(const char* text) {
  return static_cast<char*>(copy_block(text, std::strlen(text) + 1));
}

/// Makes sure that the array has room for one more element, growing it by 10. False when memory runs out; the
/// array is then as before.
template <typename Element>
bool make_room(Element*& array, std::uint32_t count, std::uint32_t& capacity) {
  static_assert(std::is_trivially_copyable_v<Element>);
  if (count < capacity) return true;
  const std::uint32_t larger = capacity + 10;
  void* grown = std::realloc(array, larger * sizeof(Element));
  if (grown == nullptr) return false;
  array = static_cast<Element*>(grown);
  capacity = larger;
  return true;
}

}  // namespace tavlib

#endif
