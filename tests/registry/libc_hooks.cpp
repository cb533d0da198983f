#include "registry/libc_hooks.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <new>

namespace tavtest {

namespace {

std::array<CallHook*, 14> hooks{};

CallHook*& hook_of(Call kind) {
  return hooks[static_cast<std::size_t>(kind)];
}

int depth = 0;

/// What the tests' own replacements of a libc call allocate is none of the registry's.
struct InsideLibc {
  InsideLibc() { ++depth; }
  ~InsideLibc() { --depth; }
  InsideLibc(const InsideLibc&) = delete;
  InsideLibc& operator=(const InsideLibc&) = delete;
};

/// Whether the call is to fail; errno is then set.
bool call_fails(Call kind) {
  CallHook* hook = kind == Call::allocate && depth > 0 ? nullptr : hook_of(kind);
  const int code = hook == nullptr ? 0 : hook->before_call();
  if (code != 0) errno = code;
  return code != 0;
}

}  // namespace

CallHook::CallHook(Call kind, int nth, std::function<int()> action)
    : kind_(kind), nth_(nth), action_(std::move(action)) {
  hook_of(kind_) = this;
}

CallHook::~CallHook() {
  hook_of(kind_) = nullptr;
}

int CallHook::before_call() {
  ++calls_;
  return nth_ == 0 || calls_ == nth_ ? action_() : 0;
}

void forget_hooks() {
  hooks.fill(nullptr);
}

}  // namespace tavtest

// The linker sends the calls of this program here.

using tavtest::Call;
using tavtest::call_fails;
using tavtest::InsideLibc;

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real__Znwm(std::size_t size);
int __real_fcntl(int fd, int command, ...);
std::FILE* __real_fdopen(int fd, const char* mode);
int __real_fsync(int fd);
int __real_fclose(std::FILE* stream);
int __real_rename(const char* from, const char* to);
ssize_t __real_pread(int fd, void* buffer, std::size_t size, off_t offset);
ssize_t __real_pwrite(int fd, const void* buffer, std::size_t size, off_t offset);
int __real_stat(const char* path, struct stat* result);
int __real_fstat(int fd, struct stat* result);
int __real_open(const char* path, int flags, ...);
int __real_unlink(const char* path);
passwd* __real_getpwuid(uid_t uid);
int __real_getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** result);

void* __wrap_malloc(std::size_t size) {
  return call_fails(Call::allocate) ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return call_fails(Call::allocate) ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
  return call_fails(Call::allocate) ? nullptr : __real_realloc(block, size);
}

void* __wrap__Znwm(std::size_t size) {
  if (call_fails(Call::allocate)) throw std::bad_alloc();
  return __real__Znwm(size);
}

int __wrap_fcntl(int fd, int command, ...) {
  if (command == F_GETFL || command == F_GETFD) return __real_fcntl(fd, command);
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const bool locks = command == F_SETLKW && static_cast<struct flock*>(argument)->l_type != F_UNLCK;
  if (locks && call_fails(Call::lock)) return -1;
  return __real_fcntl(fd, command, argument);
}

std::FILE* __wrap_fdopen(int fd, const char* mode) {
  return call_fails(Call::open_stream) ? nullptr : __real_fdopen(fd, mode);
}

int __wrap_fsync(int fd) {
  return call_fails(Call::sync) ? -1 : __real_fsync(fd);
}

int __wrap_fclose(std::FILE* stream) {
  // A close that fails has closed all the same.
  const bool fails = call_fails(Call::close_stream);
  const int code = errno;
  const int result = __real_fclose(stream);
  if (!fails) return result;
  errno = code;
  return EOF;
}

int __wrap_rename(const char* from, const char* to) {
  if (call_fails(Call::rename)) return -1;
  const InsideLibc inside;
  return __real_rename(from, to);
}

ssize_t __wrap_pread(int fd, void* buffer, std::size_t size, off_t offset) {
  if (call_fails(Call::read)) return -1;
  return call_fails(Call::read_nothing) ? 0 : __real_pread(fd, buffer, size, offset);
}

ssize_t __wrap_pwrite(int fd, const void* buffer, std::size_t size, off_t offset) {
  return call_fails(Call::write) ? -1 : __real_pwrite(fd, buffer, size, offset);
}

int __wrap_stat(const char* path, struct stat* result) {
  if (call_fails(Call::check)) return -1;
  const InsideLibc inside;
  return __real_stat(path, result);
}

int __wrap_fstat(int fd, struct stat* result) {
  return call_fails(Call::check_open) ? -1 : __real_fstat(fd, result);
}

int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  if (call_fails(Call::open_file)) return -1;
  const InsideLibc inside;
  return __real_open(path, flags, mode);
}

int __wrap_unlink(const char* path) {
  if (call_fails(Call::remove)) return -1;
  const InsideLibc inside;
  return __real_unlink(path);
}

passwd* __wrap_getpwuid(uid_t uid) {
  passwd* found = __real_getpwuid(uid);
  return call_fails(Call::find_user) ? nullptr : found;
}

int __wrap_getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** result) {
  const int code = __real_getpwuid_r(uid, entry, buffer, size, result);
  if (!call_fails(Call::find_user)) return code;
  *result = nullptr;
  return errno;
}

}  // extern "C"
