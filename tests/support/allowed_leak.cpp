#include "support/allowed_leak.h"

#include <array>
#include <cstddef>
#include <stdexcept>

namespace tavtest {
namespace {

bool living = false;
// Without a destructor and on no heap: leak checkers start from here. Volatile, because nothing ever reads it
// and an optimiser would leave it out.
std::array<void* volatile, 1024> kept{};
std::size_t count = 0;

}  // namespace

AllowedLeak::AllowedLeak() {
  if (living) throw std::logic_error("only one AllowedLeak at a time");
  living = true;
}

AllowedLeak::~AllowedLeak() {
  living = false;
}

void AllowedLeak::keep(void* block) {
  if (!living) return;
  if (count == kept.size()) throw std::length_error("too many blocks for an AllowedLeak");
  kept[count++] = block;
}

}  // namespace tavtest
