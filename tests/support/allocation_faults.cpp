#include "support/allocation_faults.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>
#include <stdexcept>

#include "support/allowed_leak.h"
#include "support/call_faults.h"
#include "support/own_allocations.h"

// The linker sends each call of `name` in the program to __wrap_name, and __real_name to what it would have
// been: so a sanitizer's allocator stays in charge of the memory.

namespace tavtest {
namespace {

constexpr long kNone = -1;
std::atomic<long> left{kNone};  // allocations before the one that fails
std::atomic<bool> failed{false};

bool fails_now() {
  if (OwnAllocations::now() || left.load() == kNone || left.fetch_sub(1) != 0) return false;
  failed = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

AllocationFaults::AllocationFaults(long failing) {
  if (left.load() != kNone) throw std::logic_error("only one AllocationFaults at a time");
  failed = false;
  left = failing;
}

AllocationFaults::~AllocationFaults() {
  left = kNone;
}

bool AllocationFaults::happened() const {
  return failed;
}

}  // namespace tavtest

using tavtest::allocation_refused;
using tavtest::fails_now;
using tavtest::note_block;
using tavtest::note_release;

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
char* __real_strdup(const char* text);
wchar_t* __real_wcsdup(const wchar_t* text);
void* __real__Znwm(std::size_t size);
void* __real__Znam(std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

void* __wrap_malloc(std::size_t size) {
  if (fails_now() || allocation_refused("malloc", size)) return nullptr;
  return note_block(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (fails_now() || allocation_refused("calloc", count * size)) return nullptr;
  return note_block(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (fails_now() || allocation_refused("realloc", size)) return nullptr;
  void* moved = __real_realloc(block, size);
  if (moved != nullptr) note_release(block);
  return note_block(moved);
}

char* __wrap_strdup(const char* text) {
  if (fails_now() || allocation_refused("strdup", 0)) return nullptr;
  return static_cast<char*>(note_block(__real_strdup(text)));
}

wchar_t* __wrap_wcsdup(const wchar_t* text) {
  if (fails_now() || allocation_refused("wcsdup", 0)) return nullptr;
  return static_cast<wchar_t*>(note_block(__real_wcsdup(text)));
}

void* __wrap__Znwm(std::size_t size) {
  if (fails_now()) throw std::bad_alloc();
  void* block = __real__Znwm(size);
  tavtest::AllowedLeak::keep(block);
  return block;
}

void* __wrap__Znam(std::size_t size) {
  if (fails_now()) throw std::bad_alloc();
  return __real__Znam(size);
}

void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  return fails_now() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  return fails_now() ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}

}  // extern "C"
