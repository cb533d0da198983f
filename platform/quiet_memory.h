#ifndef TAVLIB_PLATFORM_QUIET_MEMORY_H
#define TAVLIB_PLATFORM_QUIET_MEMORY_H

#include "platform/keep_error.h"

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

// Owners of memory that leave the run-time error as it is when they free it: for what is still held when a
// function fails.

namespace tavlib {

/// Like std::default_delete, for an object or an array.
template <typename Owned>
struct QuietDelete {
  void operator()(std::remove_extent_t<Owned>* owned) const {
    const KeepError keep;
    std::default_delete<Owned>()(owned);
  }
};

template <typename Owned>
using QuietPtr = std::unique_ptr<Owned, QuietDelete<Owned>>;

/// Like std::allocator.
template <typename Element>
struct QuietAllocator {
  using value_type = Element;

  QuietAllocator() = default;
  template <typename Other>
  QuietAllocator(const QuietAllocator<Other>& /*other*/) {}

  Element* allocate(std::size_t count) { return std::allocator<Element>().allocate(count); }
  void deallocate(Element* elements, std::size_t count) {
    const KeepError keep;
    std::allocator<Element>().deallocate(elements, count);
  }

  friend bool operator==(const QuietAllocator& /*left*/, const QuietAllocator& /*right*/) { return true; }
};

using QuietString = std::basic_string<char, std::char_traits<char>, QuietAllocator<char>>;

}  // namespace tavlib

#endif
