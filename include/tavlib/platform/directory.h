#ifndef TAVLIB_PLATFORM_DIRECTORY_H
#define TAVLIB_PLATFORM_DIRECTORY_H

#ifdef __cplusplus

#include <dirent.h>
#include <tavlib/export.h>

/// A failed conversion between wide and 8-bit text. `code` is the run-time error code of the reason. The
/// paths and patterns of this version are 8-bit already, so nothing in it throws one.
class TAVLIB_API WtoAException {
 public:
  explicit WtoAException(unsigned errorCode) : code(errorCode) {}

  unsigned code;
};

/// Lists the names in one directory that match a shell wildcard, in the order of the file system, "." and
/// ".." included. The run-time error (GetRtlError) has the reason of a failure.
///
/// Threads: one at a time for each object.
class TAVLIB_API ADirectory {
 public:
  ADirectory();

  /// As the default constructor followed by Open; IsValid returns whether that succeeded.
  ADirectory(const char* directory, const char* wildcard);

  virtual ~ADirectory();

  ADirectory(const ADirectory&) = delete;
  ADirectory& operator=(const ADirectory&) = delete;

  /// Opens `directory` for listing what matches `wildcard`: as fnmatch without flags, so a leading dot
  /// matches like any other character. Both are copied. An open listing is closed first.
  ///
  /// Returns
  ///   1                  open
  ///   0, EFAULT          an argument is null
  ///   0, ENOMEM          memory ran out
  ///   0, name too long   the pattern has more than 1023 characters, or the directory does not fit `path`;
  ///                      the file system is not touched
  ///   0, any other code  what opendir reported
  int Open(const char* directory, const char* wildcard);

  /// Closes the listing. Always 1; closing a closed listing does nothing.
  int Close();

  /// Copies the next matching name to `name`, which must have room for 256 bytes, and returns 1. 0 at the
  /// end, and when no listing is open.
  int GetNext(char* name);

  /// Writes `path` followed by `name` to `result`, which must have room for both and a terminating zero.
  void GetFull(char* result, const char* name);

  /// 1 while a listing is open, else 0.
  int IsValid();

 protected:
  char* pattern{nullptr};  ///< Owned copy of the wildcard; null when closed.
  DIR* handle{nullptr};    ///< Null when closed.
  char path[1024]{};       ///< The directory, ending in "/" after a successful Open.
};

#endif

#endif
