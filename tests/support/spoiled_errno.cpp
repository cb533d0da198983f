#include "support/spoiled_errno.h"

#include <cerrno>
#include <cstddef>

#include "support/call_faults.h"
#include "support/next_symbol.h"
#include "support/own_allocations.h"

namespace tavtest {
namespace {

thread_local int living = 0;
thread_local long spoiled = 0;

void spoil() {
  if (living == 0 || OwnAllocations::now()) return;
  ++spoiled;
  errno = EILSEQ;
}

}  // namespace

SpoiledErrno::SpoiledErrno() : before_(spoiled) {
  ++living;
}

SpoiledErrno::~SpoiledErrno() {
  --living;
}

long SpoiledErrno::count() const {
  return spoiled - before_;
}

}  // namespace tavtest

#ifdef TAVTEST_REPLACES_FREE

// What libraries call; libc calls it, too. A sanitizer has a free of its own, which must stay.
extern "C" void __libc_free(void* block);

TAVTEST_REPLACES_LIBC void free(void* block) noexcept {
  __libc_free(block);
  tavtest::spoil();
}

#endif

// The linker sends the program's calls of `name` to __wrap_name.
extern "C" {

void __real_free(void* block);
void __real__ZdlPv(void* block);
void __real__ZdlPvm(void* block, std::size_t size);
void __real__ZdaPv(void* block);

void __wrap_free(void* block) {
  tavtest::note_release(block);  // for those who count the library's blocks
  __real_free(block);
  tavtest::spoil();
}

void __wrap__ZdlPv(void* block) {
  __real__ZdlPv(block);
  tavtest::spoil();
}

void __wrap__ZdlPvm(void* block, std::size_t size) {
  __real__ZdlPvm(block, size);
  tavtest::spoil();
}

void __wrap__ZdaPv(void* block) {
  __real__ZdaPv(block);
  tavtest::spoil();
}

}  // extern "C"
