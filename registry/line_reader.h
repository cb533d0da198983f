#ifndef TAVLIB_REGISTRY_LINE_READER_H
#define TAVLIB_REGISTRY_LINE_READER_H

#include <sys/types.h>

#include <array>
#include <cstddef>

namespace tavlib {

/// One line of a registry file. It consists of bytes: `length` includes zero bytes and the newline, but
/// whatever interprets a line treats it as a text that ends at its first zero byte. The text may be changed
/// in place, within `length` + 1 bytes.
struct Line {
  char* text;
  std::size_t length;
};

/// Reads the lines of an open file from a position. It bypasses the stream's own buffer, which may hold what
/// the file was before another process appended to it, and does not move the descriptor's position.
class LineReader {
 public:
  /// Bytes, newline included. A longer line is read in pieces.
  static constexpr std::size_t kMaxLine = 4095;

  LineReader(int fd, off_t start) : fd_(fd), chunk_start_(start) {}

  /// The next line, valid until the next call; false at the end of the file and when reading failed.
  bool next(Line& line);

  /// False when reading stopped before the end of the file; the run-time error has the reason.
  bool good() const { return good_; }

  /// Where the line after the last one starts.
  off_t position() const { return chunk_start_ + static_cast<off_t>(used_); }

 private:
  bool fill();

  int fd_;
  bool good_{true};
  off_t chunk_start_;         // Position of chunk_[0] in the file.
  std::size_t used_{0};       // Bytes of the chunk that were returned.
  std::size_t available_{0};  // Bytes of the chunk that were read.
  std::array<char, 8192> chunk_{};
  std::array<char, kMaxLine + 1> line_{};
};

}  // namespace tavlib

#endif
