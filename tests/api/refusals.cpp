#include "api/refusals.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

namespace tavtest {
namespace {

constexpr std::size_t none = 0;

std::atomic<std::size_t> refused_size{none};
std::atomic<bool> keys_refused{false};
std::atomic<bool> values_refused{false};
std::atomic<long> living{0};

void* block(std::size_t size) noexcept {
  if (size == refused_size && size != none) return nullptr;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory != nullptr) ++living;
  return memory;
}

void* block_or_throw(std::size_t size) {
  if (void* memory = block(size)) return memory;
  throw std::bad_alloc();
}

void release(void* memory) noexcept {
  if (memory != nullptr) --living;
  std::free(memory);
}

}  // namespace

RefuseBlocks::RefuseBlocks(std::size_t size) {
  refused_size = size;
}
RefuseBlocks::~RefuseBlocks() {
  refused_size = none;
}

RefuseKeys::RefuseKeys() {
  keys_refused = true;
}
RefuseKeys::~RefuseKeys() {
  keys_refused = false;
}

RefuseValues::RefuseValues() {
  values_refused = true;
}
RefuseValues::~RefuseValues() {
  values_refused = false;
}

long living_blocks() {
  return living;
}

}  // namespace tavtest

using namespace tavtest;

void* operator new(std::size_t size) {
  return block_or_throw(size);
}
void* operator new[](std::size_t size) {
  return block_or_throw(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return block(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return block(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}

// The linker turns calls of these functions into calls of the wrappers (its --wrap).
extern "C" {

int __real_pthread_key_create(pthread_key_t* key, void (*destructor)(void*));

int __wrap_pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
  return keys_refused ? EAGAIN : __real_pthread_key_create(key, destructor);
}

int __real_pthread_setspecific(pthread_key_t key, const void* value);

int __wrap_pthread_setspecific(pthread_key_t key, const void* value) {
  return values_refused ? ENOMEM : __real_pthread_setspecific(key, value);
}
}
