// The program's operator new, for its own code and for the C++ library's, which makes most of the strings:
// CallFaults counts and fails its calls. The blocks come from the real malloc, so that a sanitizer stays in
// charge.

#include <cstddef>
#include <cstdlib>
#include <new>

#include "support/call_faults.h"

extern "C" {

void* __real_malloc(std::size_t size);

}  // extern "C"

namespace {

void* block(const char* name, std::size_t size) noexcept {
  if (tavtest::allocation_refused(name, size)) return nullptr;
  return tavtest::note_block(__real_malloc(size == 0 ? 1 : size));
}

void* block_or_throw(const char* name, std::size_t size) {
  if (void* memory = block(name, size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  return block_or_throw("new", size);
}
void* operator new[](std::size_t size) {
  return block_or_throw("new[]", size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return block("new nothrow", size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return block("new[] nothrow", size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
