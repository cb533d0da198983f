#include "registry/line_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tavlib {

namespace {

// Whether a read of no bytes at `position` was one at the end of the file; false, with the error, when it was
// not. A commit that ended early without an error would drop the rest of the file.
bool is_end(int fd, off_t position) {
  struct stat file {};
  if (fstat(fd, &file) == -1) return false;
  if (file.st_size <= position) return true;
  errno = EIO;
  return false;
}

}  // namespace

bool LineReader::fill() {
  chunk_start_ = position();
  used_ = 0;
  available_ = 0;
  ssize_t got = 0;
  do {
    got = pread(fd_, chunk_.data(), chunk_.size(), chunk_start_);
  } while (got == -1 && errno == EINTR);
  if (got == -1 || (got == 0 && !is_end(fd_, chunk_start_))) good_ = false;
  if (got <= 0) return false;
  available_ = static_cast<std::size_t>(got);
  return true;
}

bool LineReader::next(Line& line) {
  std::size_t length = 0;
  bool ended = false;
  while (!ended && length < kMaxLine && (used_ < available_ || fill())) {
    const char* start = chunk_.data() + used_;
    std::size_t taken = std::min(available_ - used_, kMaxLine - length);
    if (const void* newline = std::memchr(start, '\n', taken)) {
      taken = static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
      ended = true;
    }
    std::memcpy(line_.data() + length, start, taken);
    length += taken;
    used_ += taken;
  }
  line_[length] = '\0';
  line = {line_.data(), length};
  return good_ && length != 0;
}

}  // namespace tavlib
