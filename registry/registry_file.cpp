#include "registry/registry_file.h"

#include "platform/keep_error.h"
#include "platform/no_cancellation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace tavlib {

namespace {

Stream open_stream(const char* path, int flags, const char* mode) {
  const int fd = open(path, flags | O_CLOEXEC, 0666);
  if (fd == -1) return nullptr;
  Stream stream(fdopen(fd, mode));
  if (!stream) {
    const KeepError keep;
    close(fd);
  }
  return stream;
}

Stream open_again(const char* path, std::FILE* stream) {
  return is_writable(stream) ? open_for_writing(path) : open_for_reading(path);
}

// Whether the path still names the open file; nullopt, with the system's error, when that cannot be found
// out. When the path names nothing, there is nothing newer than the open file.
std::optional<bool> is_current(std::FILE* stream, const char* path) {
  struct stat opened {};
  struct stat named {};
  if (fstat(fileno(stream), &opened) == -1) return std::nullopt;
  if (stat(path, &named) == -1) return errno == ENOENT ? std::optional(true) : std::nullopt;
  return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

Stream open_for_reading(const char* path) {
  return open_stream(path, O_RDONLY, "r");
}

Stream open_for_writing(const char* path) {
  return open_stream(path, O_RDWR, "r+");
}

Stream open_or_create(const char* path) {
  return open_stream(path, O_RDWR | O_CREAT, "r+");
}

bool is_writable(std::FILE* stream) {
  return (fcntl(fileno(stream), F_GETFL) & O_ACCMODE) == O_RDWR;
}

void sync_folder_of(const char* path) {
  const KeepError keep;
  const NoCancellation whole;
  const char* slash = std::strrchr(path, '/');
  char folder[1024];
  static_cast<void>(std::snprintf(folder, sizeof folder, "%.*s.",
                                  slash == nullptr ? 0 : static_cast<int>(slash + 1 - path), path));
  const int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd == -1) return;
  fsync(fd);
  close(fd);
}

bool open_current(Stream& stream, const char* path) {
  const std::optional<bool> current = is_current(stream.get(), path);
  if (!current || *current) return current.has_value();
  Stream again = open_again(path, stream.get());
  if (!again) return false;
  stream = std::move(again);
  return true;
}

bool lock_current(Stream& stream, const char* path, AFileLocker::FILELOCKER kind,
                  std::optional<AFileLocker>& lock) {
  for (;;) {
    lock.emplace(fileno(stream.get()), kind);
    if (lock->IsValid() == 0) return false;
    const std::optional<bool> current = is_current(stream.get(), path);
    if (!current || *current) return current.has_value();
    Stream again = open_again(path, stream.get());
    lock.reset();
    if (!again) return false;
    stream = std::move(again);
  }
}

}  // namespace tavlib
