#include "registry/replacement_file.h"

#include "platform/keep_error.h"
#include "registry/registry_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace tavlib {

namespace {

// Removes whatever has the name: a link, through which another file would be written, or a file that another
// process may have open. False with the system's error.
bool make_way(const char* path) {
  const int kept = errno;
  if (unlink(path) == -1 && errno != ENOENT) return false;
  errno = kept;
  return true;
}

}  // namespace

ReplacementFile::ReplacementFile(const char* path) : path_(path) {
  static_cast<void>(std::snprintf(temporary_, sizeof temporary_, "%s~", path));
  if (!make_way(temporary_)) return;
  const int fd = open(temporary_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd == -1) return;
  pending_ = true;
  stream_.reset(fdopen(fd, "w"));
  if (!stream_) {
    const KeepError keep;
    close(fd);
  }
}

ReplacementFile::~ReplacementFile() {
  if (!pending_) return;
  const KeepError keep;
  unlink(temporary_);
}

bool ReplacementFile::finish() {
  std::FILE* stream = stream_.get();
  if (std::fflush(stream) != 0 || fsync(fileno(stream)) != 0) return false;
  return std::fclose(stream_.release()) == 0;
}

bool ReplacementFile::replace() {
  if (!finish() || std::rename(temporary_, path_) != 0) return false;
  pending_ = false;
  sync_folder_of(path_);
  return true;
}

}  // namespace tavlib
