// Calls of files, streams and threads that fail under CallFaults. The linker sends each call of `name` in the
// program to __wrap_name, and __real_name to what it would have been.

#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "support/call_faults.h"
#include "support/own_allocations.h"

using tavtest::OwnAllocations;
using tavtest::Way;
using tavtest::way_to_fail;

namespace {

constexpr Way io[] = {{"EIO", EIO}};
constexpr Way full[] = {{"ENOSPC", ENOSPC}};
constexpr Way disk[] = {{"EIO", EIO}, {"ENOSPC", ENOSPC}};
constexpr Way opening[] = {{"EMFILE", EMFILE}, {"EINTR", EINTR}, {"ENOMEM", ENOMEM}};
constexpr Way stream[] = {{"EINVAL", EINVAL}, {"ENOMEM", ENOMEM}};
constexpr Way locking[] = {{"EINTR", EINTR}, {"ENOLCK", ENOLCK}, {"EDEADLK", EDEADLK}};
constexpr Way reading[] = {{"EINTR", EINTR}, {"EIO", EIO}, {"short", 0}, {"empty", 0}};
constexpr std::span<const Way> reading_nothing{reading,
                                               2};  // at the end there is nothing to come up short of
constexpr Way writing[] = {{"EINTR", EINTR}, {"ENOSPC", ENOSPC}, {"EIO", EIO}, {"short", 0}};
constexpr Way waiting[] = {{"EINTR", EINTR}, {"ENOMEM", ENOMEM}, {"nothing", 0}};
constexpr Way users[] = {
    {"EMFILE", EMFILE}, {"unknown", 0}, {"EINTR", EINTR}, {"ERANGE", ERANGE}, {"ENOMEM", ENOMEM}};
constexpr Way clock_ways[] = {{"EINVAL", EINVAL}};
constexpr Way stat_ways[] = {{"EIO", EIO}, {"EACCES", EACCES}};
constexpr Way threads[] = {{"returned", 0}};  // these give the code instead of leaving it in errno

bool fails(const char* call, std::span<const Way> ways) {
  return way_to_fail(call, ways) != nullptr;
}

std::size_t half(std::size_t count) {
  return count / 2 == 0 ? count : count / 2;
}

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int fd);
int __real_stat(const char* path, struct stat* result);
int __real_fstat(int fd, struct stat* result);
int __real_fcntl(int fd, int command, ...);
int __real_ftruncate(int fd, off_t size);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);
ssize_t __real_pread(int fd, void* buffer, std::size_t size, off_t offset);
ssize_t __real_pwrite(int fd, const void* buffer, std::size_t size, off_t offset);
std::FILE* __real_fdopen(int fd, const char* mode);
int __real_fflush(std::FILE* file);
int __real_fclose(std::FILE* file);
int __real_fputc(int character, std::FILE* file);
std::size_t __real_fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file);
int __real_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout);
int __real_gettimeofday(timeval* time, void* zone);
int __real_getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** result);
int __real_pthread_key_create(pthread_key_t* key, void (*destructor)(void*));
int __real_pthread_setspecific(pthread_key_t key, const void* value);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes);

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (fails((flags & O_DIRECTORY) != 0 ? "open folder" : "open", opening)) return -1;
  const int fd = __real_open(path, flags, mode);
  // How a registry file is made when there is none: that descriptor stays open, as prescribed.
  if (fd != -1 && flags == (O_WRONLY | O_CREAT | O_CLOEXEC)) tavtest::note_left_open(fd);
  return fd;
}

// A close that fails has closed all the same.
int __wrap_close(int fd) {
  const bool failing = fails("close", io);
  const int error_number = errno;
  const int result = __real_close(fd);
  if (!failing) return result;
  errno = error_number;
  return -1;
}

int __wrap_stat(const char* path, struct stat* result) {
  return fails("stat", stat_ways) ? -1 : __real_stat(path, result);
}

int __wrap_fstat(int fd, struct stat* result) {
  return fails("fstat", io) ? -1 : __real_fstat(fd, result);
}

int __wrap_fcntl(int fd, int command, ...) {
  if (command == F_GETFL) return fails("fcntl", io) ? -1 : __real_fcntl(fd, command);
  va_list arguments;
  va_start(arguments, command);
  auto* const lock = va_arg(arguments, struct flock*);
  va_end(arguments);
  if (command != F_SETLK && command != F_SETLKW) return __real_fcntl(fd, command, lock);
  const bool failing = lock->l_type == F_UNLCK ? fails("unlock", io) : fails("lock", locking);
  return failing ? -1 : __real_fcntl(fd, command, lock);
}

// One that succeeds costs much time and shows nothing, so it is left out.
int __wrap_fsync(int fd) {
  struct stat file {};
  if (__real_fstat(fd, &file) == -1) return -1;
  return fails(S_ISDIR(file.st_mode) ? "fsync folder" : "fsync", disk) ? -1 : 0;
}

int __wrap_ftruncate(int fd, off_t size) {
  return fails("ftruncate", io) ? -1 : __real_ftruncate(fd, size);
}

int __wrap_rename(const char* from, const char* to) {
  return fails("rename", disk) ? -1 : __real_rename(from, to);
}

int __wrap_unlink(const char* path) {
  return fails("unlink", io) ? -1 : __real_unlink(path);
}

ssize_t __wrap_pread(int fd, void* buffer, std::size_t size, off_t offset) {
  const ssize_t got = __real_pread(fd, buffer, size, offset);
  const Way* way = way_to_fail("pread", got > 0 ? reading : reading_nothing);
  if (way == nullptr) return got;
  if (way->error_number != 0) return -1;
  return std::string_view(way->name) == "empty" ? 0
                                                : static_cast<ssize_t>(half(static_cast<std::size_t>(got)));
}

ssize_t __wrap_pwrite(int fd, const void* buffer, std::size_t size, off_t offset) {
  const Way* way = way_to_fail("pwrite", writing);
  if (way == nullptr) return __real_pwrite(fd, buffer, size, offset);
  return way->error_number != 0 ? -1 : __real_pwrite(fd, buffer, half(size), offset);
}

std::FILE* __wrap_fdopen(int fd, const char* mode) {
  return fails("fdopen", stream) ? nullptr : __real_fdopen(fd, mode);
}

}  // extern "C"

namespace {

// What a call leaves in the stream while the disk is full: the descriptor is one of a full disk for as long
// as the call and the writing of what it buffered take.
template <typename Call>
void on_a_full_disk(std::FILE* file, Call call) {
  const int fd = fileno(file);
  const int kept = __real_fcntl(fd, F_DUPFD_CLOEXEC, 0);
  const int full_disk = __real_open("/dev/full", O_WRONLY | O_CLOEXEC);
  dup3(full_disk, fd, O_CLOEXEC);
  call();
  __real_fflush(file);
  dup3(kept, fd, O_CLOEXEC);
  __real_close(full_disk);
  __real_close(kept);
  errno = ENOSPC;
}

int print(std::FILE* file, const char* format, va_list arguments) {
  if (!fails("fprintf", full)) return std::vfprintf(file, format, arguments);
  on_a_full_disk(file, [&] { static_cast<void>(std::vfprintf(file, format, arguments)); });
  return -1;
}

}  // namespace

extern "C" {

int __wrap_fflush(std::FILE* file) {
  if (!fails("fflush", full)) return __real_fflush(file);
  on_a_full_disk(file, [] {});
  return EOF;
}

int __wrap_fputc(int character, std::FILE* file) {
  if (!fails("fputc", full)) return __real_fputc(character, file);
  on_a_full_disk(file, [&] { __real_fputc(character, file); });
  return EOF;
}

std::size_t __wrap_fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
  if (!fails("fwrite", full)) return __real_fwrite(bytes, size, count, file);
  on_a_full_disk(file, [&] { static_cast<void>(__real_fwrite(bytes, size, count, file)); });
  return 0;
}

int __wrap_fprintf(std::FILE* file, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = print(file, format, arguments);
  va_end(arguments);
  return result;
}

// What fprintf is under -D_FORTIFY_SOURCE.
int __wrap___fprintf_chk(std::FILE* file, int /*flag*/, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = print(file, format, arguments);
  va_end(arguments);
  return result;
}

int __wrap_fclose(std::FILE* file) {
  const bool failing = fails("fclose", disk);
  const int error_number = errno;
  const int result = __real_fclose(file);
  if (!failing) return result;
  errno = error_number;
  return EOF;
}

// The wait is where a test's servers act: what they allocate is their own.
int __wrap_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
  const Way* way = way_to_fail("select", waiting);
  if (way != nullptr) return way->error_number == 0 ? 0 : -1;
  const OwnAllocations own;
  return __real_select(count, read, write, except, timeout);
}

int __wrap_gettimeofday(timeval* time, void* zone) {
  return fails("gettimeofday", clock_ways) ? -1 : __real_gettimeofday(time, zone);
}

int __wrap_getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** result) {
  const Way* way = way_to_fail("getpwuid_r", users);
  if (way == nullptr) return __real_getpwuid_r(uid, entry, buffer, size, result);
  *result = nullptr;
  return way->error_number;
}

int __wrap_pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
  return fails("pthread_key_create", threads) ? EAGAIN : __real_pthread_key_create(key, destructor);
}

int __wrap_pthread_setspecific(pthread_key_t key, const void* value) {
  return fails("pthread_setspecific", threads) ? ENOMEM : __real_pthread_setspecific(key, value);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  return fails("pthread_mutex_init", threads) ? ENOMEM : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
  return fails("pthread_cond_init", threads) ? ENOMEM : __real_pthread_cond_init(condition, attributes);
}

}  // extern "C"
