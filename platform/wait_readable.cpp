#include "platform/wait_readable.h"

#include <sys/select.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <new>

#include "platform/quiet_memory.h"

namespace tavlib {
namespace {

// A descriptor set in the kernel's layout: descriptor n is bit n % bits of word n / bits. FD_SET cannot be
// used here: it is bound to the 1024 bits of fd_set, and for a higher descriptor it writes past them or
// aborts.
using Word = unsigned long;
constexpr std::size_t kBitsPerWord = sizeof(Word) * CHAR_BIT;
constexpr std::size_t kOrdinaryWords = FD_SETSIZE / kBitsPerWord;

int select_with(Word* set, std::size_t fd, timeval& timeout) {
  set[fd / kBitsPerWord] |= Word{1} << (fd % kBitsPerWord);
  return select(static_cast<int>(fd) + 1, reinterpret_cast<fd_set*>(set), nullptr, nullptr, &timeout);
}

int select_high(std::size_t fd, timeval& timeout) {
  const QuietPtr<Word[]> set(new (std::nothrow) Word[fd / kBitsPerWord + 1]());
  if (!set) {
    errno = ENOMEM;
    return -1;
  }
  return select_with(set.get(), fd, timeout);
}

}  // namespace

int wait_readable(int fd, timeval timeout) {
  if (fd < 0 || fd == INT_MAX) {
    errno = EBADF;
    return -1;
  }
  const auto number = static_cast<std::size_t>(fd);
  if (number >= FD_SETSIZE) return select_high(number, timeout);
  std::array<Word, kOrdinaryWords> set{};
  return select_with(set.data(), number, timeout);
}

}  // namespace tavlib
