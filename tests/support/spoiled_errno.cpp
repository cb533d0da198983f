#include "support/spoiled_errno.h"

#include <cerrno>
#include <cstddef>
#include <stdexcept>

#include "support/call_faults.h"

namespace tavtest {
namespace {

bool living = false;
int spoiled = 0;

void spoil() {
  if (!living) return;
  ++spoiled;
  errno = EILSEQ;
}

}  // namespace

SpoiledErrno::SpoiledErrno() {
  if (living) throw std::logic_error("only one SpoiledErrno at a time");
  living = true;
  spoiled = 0;
}

SpoiledErrno::~SpoiledErrno() {
  living = false;
}

int SpoiledErrno::count() const {
  return spoiled;
}

}  // namespace tavtest

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
