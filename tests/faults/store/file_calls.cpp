#include "faults/store/file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <utility>

#include "registry/libc_hooks.h"

namespace tavtest {
namespace {

FileCallWatcher* watcher = nullptr;
int pretenders = 0;

// The descriptors of the streams that write through the watcher.
std::map<std::FILE*, int>& streams() {
  static auto& all = *new std::map<std::FILE*, int>;
  return all;
}

/// Makes a call that a watcher may see. The result of a failed call is -1.
template <typename Result, typename Real>
Result watched(FileCall& call, Real real) {
  if (watcher == nullptr) return real();
  const int code = watcher->before(call);
  if (code != 0) {
    errno = code;
    return Result{-1};
  }
  const Result result = real();
  const int kept = errno;
  // The call may have been one that ends the watching process's work in the child of a fork.
  if (watcher != nullptr) watcher->after(call, static_cast<long>(result));
  errno = kept;
  return result;
}

int fd_of(void* cookie) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

// Like libc's own streams: what a short write left is written by a further one. Fewer bytes than `size` tell
// the stream of a failure.
ssize_t write_from_stream(void* cookie, const char* bytes, std::size_t size) {
  std::string_view left(bytes, size);
  while (!left.empty()) {
    FileCall call{.name = "write", .fd = fd_of(cookie), .bytes = left};
    const auto written =
        watched<ssize_t>(call, [&] { return ::write(call.fd, call.bytes.data(), call.bytes.size()); });
    if (written == -1) break;
    left.remove_prefix(static_cast<std::size_t>(written));
  }
  return static_cast<ssize_t>(size - left.size());
}

// A close that fails has closed all the same.
int close_stream(void* cookie) {
  const int fd = fd_of(cookie);
  FileCall call{.name = "close", .fd = fd};
  bool made = false;
  const int result = watched<int>(call, [&] {
    made = true;
    return ::close(fd);
  });
  if (!made) {
    const int kept = errno;
    ::close(fd);
    errno = kept;
  }
  std::erase_if(streams(), [fd](const auto& stream) { return stream.second == fd; });
  return result;
}

}  // namespace

FileCallWatcher::FileCallWatcher() {
  if (watcher != nullptr) throw std::logic_error("only one FileCallWatcher at a time");
  watcher = this;
}

FileCallWatcher::~FileCallWatcher() {
  watcher = nullptr;
}

PretendedSyncs::PretendedSyncs() {
  ++pretenders;
}

PretendedSyncs::~PretendedSyncs() {
  --pretenders;
}

// The registry's fixture says this in a process that was forked.
void forget_hooks() {
  watcher = nullptr;
}

}  // namespace tavtest

// The linker sends the calls of this program here.

using tavtest::FileCall;
using tavtest::watched;

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_fcntl(int fd, int command, ...);
std::FILE* __real_fdopen(int fd, const char* mode);
int __real_fileno(std::FILE* stream);
int __real_stat(const char* path, struct stat* result);
int __real_fstat(int fd, struct stat* result);
ssize_t __real_pread(int fd, void* buffer, std::size_t size, off_t position);
ssize_t __real_pwrite(int fd, const void* bytes, std::size_t size, off_t position);
int __real_ftruncate(int fd, off_t size);
int __real_fsync(int fd);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);

int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  FileCall call{.name = "open", .path = path, .flags = flags};
  return watched<int>(call, [&] { return __real_open(path, flags, mode); });
}

int __wrap_fcntl(int fd, int command, ...) {
  if (command != F_SETLKW && command != F_SETLK) return __real_fcntl(fd, command);
  va_list arguments;
  va_start(arguments, command);
  auto* lock = va_arg(arguments, struct flock*);
  va_end(arguments);
  FileCall call{.name = lock->l_type == F_UNLCK ? "unlock" : "lock", .fd = fd};
  return watched<int>(call, [&] { return __real_fcntl(fd, command, lock); });
}

std::FILE* __wrap_fdopen(int fd, const char* mode) {
  if (tavtest::watcher == nullptr) return __real_fdopen(fd, mode);
  const cookie_io_functions_t functions{
      .read = nullptr, .write = tavtest::write_from_stream, .seek = nullptr, .close = tavtest::close_stream};
  std::FILE* stream = fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(fd)), mode, functions);
  if (stream == nullptr) return nullptr;
  setvbuf(stream, nullptr, _IOFBF, 4096);
  tavtest::streams()[stream] = fd;
  return stream;
}

int __wrap_fileno(std::FILE* stream) {
  const auto found = tavtest::streams().find(stream);
  return found == tavtest::streams().end() ? __real_fileno(stream) : found->second;
}

int __wrap_stat(const char* path, struct stat* result) {
  FileCall call{.name = "stat", .path = path};
  return watched<int>(call, [&] { return __real_stat(path, result); });
}

int __wrap_fstat(int fd, struct stat* result) {
  FileCall call{.name = "stat", .fd = fd};
  return watched<int>(call, [&] { return __real_fstat(fd, result); });
}

ssize_t __wrap_pread(int fd, void* buffer, std::size_t size, off_t position) {
  FileCall call{.name = "read", .fd = fd, .position = position};
  return watched<ssize_t>(call, [&] { return __real_pread(fd, buffer, size, position); });
}

ssize_t __wrap_pwrite(int fd, const void* bytes, std::size_t size, off_t position) {
  FileCall call{
      .name = "write", .fd = fd, .position = position, .bytes = {static_cast<const char*>(bytes), size}};
  return watched<ssize_t>(call,
                          [&] { return __real_pwrite(fd, call.bytes.data(), call.bytes.size(), position); });
}

int __wrap_ftruncate(int fd, off_t size) {
  FileCall call{.name = "truncate", .fd = fd, .position = size};
  return watched<int>(call, [&] { return __real_ftruncate(fd, size); });
}

int __wrap_fsync(int fd) {
  FileCall call{.name = "sync", .fd = fd};
  return watched<int>(call, [&] { return tavtest::pretenders > 0 ? 0 : __real_fsync(fd); });
}

int __wrap_rename(const char* from, const char* to) {
  FileCall call{.name = "rename", .path = from, .new_path = to};
  return watched<int>(call, [&] { return __real_rename(from, to); });
}

int __wrap_unlink(const char* path) {
  FileCall call{.name = "unlink", .path = path};
  return watched<int>(call, [&] { return __real_unlink(path); });
}

}  // extern "C"
