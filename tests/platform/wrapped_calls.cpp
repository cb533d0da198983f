#include "wrapped_calls.h"

#include <dirent.h>
#include <pthread.h>
#include <sys/select.h>

#include <array>
#include <cerrno>
#include <climits>
#include <new>

namespace tavtest {
namespace {

struct Slot {
  std::atomic<int> count{0};
  std::atomic<int> passing{INT_MAX};
  std::atomic<int> error_number{0};
};

Slot& slot_of(Call call) {
  static std::array<Slot, static_cast<std::size_t>(Call::count_of_calls)> slots;
  return slots[static_cast<std::size_t>(call)];
}

// Counts a call and says whether it shall fail, with errno set if so.
bool fails(Call call) {
  Slot& slot = slot_of(call);
  ++slot.count;
  slot.count.notify_all();
  if (slot.passing == INT_MAX || slot.passing-- > 0) return false;
  slot.passing = 0;
  errno = slot.error_number;
  return true;
}

}  // namespace

Watch::Watch(Call call) : call_(call) {
  slot_of(call).count = 0;
}

Watch::~Watch() {
  slot_of(call_).passing = INT_MAX;
}

int Watch::count() const {
  return slot_of(call_).count;
}

void Watch::wait_for(int wanted) const {
  for (int now = count(); now < wanted; now = count())
    slot_of(call_).count.wait(now);
}

void Watch::fail(int error_number, int passing) {
  slot_of(call_).error_number = error_number;
  slot_of(call_).passing = passing;
}

LastArguments& last_arguments() {
  static thread_local LastArguments arguments;
  return arguments;
}

}  // namespace tavtest

using tavtest::Call;
using tavtest::fails;
using tavtest::last_arguments;

extern "C" {

void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  return fails(Call::malloc) ? nullptr : __real_malloc(size);
}

char* __real_strdup(const char* text);
char* __wrap_strdup(const char* text) {
  return fails(Call::strdup) ? nullptr : __real_strdup(text);
}

char* __real_strerror(int code);
char* __wrap_strerror(int code) {
  return fails(Call::strerror) ? nullptr : __real_strerror(code);
}

DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path) {
  last_arguments().opendir = path;
  return fails(Call::opendir) ? nullptr : __real_opendir(path);
}

void* __real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
  return fails(Call::new_array_nothrow) ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}

int __real_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout);
int __wrap_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
  constexpr int bits = sizeof(unsigned long) * CHAR_BIT;
  const auto* words = reinterpret_cast<const unsigned long*>(read);
  last_arguments().select_count = count;
  last_arguments().select_read_set.assign(words, words + (count + bits - 1) / bits);
  last_arguments().select_other_sets = write != nullptr || except != nullptr;
  return fails(Call::select) ? -1 : __real_select(count, read, write, except, timeout);
}

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  fails(Call::mutex_init);
  last_arguments().object = mutex;
  last_arguments().default_mutex = attributes == nullptr;
  return __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  fails(Call::mutex_lock);
  last_arguments().object = mutex;
  return __real_pthread_mutex_lock(mutex);
}

int __real_pthread_mutex_destroy(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
  fails(Call::mutex_destroy);
  return __real_pthread_mutex_destroy(mutex);
}

int __real_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes);
int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
  fails(Call::cond_init);
  last_arguments().object = condition;
  last_arguments().default_condition = attributes == nullptr;
  return __real_pthread_cond_init(condition, attributes);
}

int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  fails(Call::cond_wait);
  return __real_pthread_cond_wait(condition, mutex);
}

int __real_pthread_cond_destroy(pthread_cond_t* condition);
int __wrap_pthread_cond_destroy(pthread_cond_t* condition) {
  fails(Call::cond_destroy);
  return __real_pthread_cond_destroy(condition);
}

}  // extern "C"
