#ifndef TAVLIB_PLATFORM_DIRECTORY_H
#define TAVLIB_PLATFORM_DIRECTORY_H

#ifdef __cplusplus

#include <dirent.h>
#include <tavlib/export.h>

/// The failure of a conversion between wide and 8-bit text, with the run-time error code that tells why. The
/// paths and patterns of this version are 8-bit already, so nothing in it throws one.
class TAVLIB_API WtoAException {
 public:
  explicit WtoAException(unsigned errorCode) : code(errorCode) {}

  unsigned code;
};

/// Lists the names in one directory that match a shell wildcard, in the order of the file system, "." and
/// ".." included. Not for use by several threads at once. Failures are told by the run-time error
/// (GetRtlError).
class TAVLIB_API ADirectory {
 public:
  ADirectory();

  /// As the default constructor followed by Open; IsValid tells how that went.
  ADirectory(const char* directory, const char* wildcard);

  virtual ~ADirectory();

  ADirectory(const ADirectory&) = delete;
  ADirectory& operator=(const ADirectory&) = delete;

  /// Opens `directory` for listing what matches `wildcard` (fnmatch with no flags: a leading dot matches like
  /// any other character). Both are copied. An open listing is closed first. 1, or 0 with an error: 78 for a
  /// pattern of more than 1023 characters, before the file system is touched, and for a directory that does
  /// not fit `path`; 14 for a null argument; 12 when memory runs out; otherwise what opendir reported.
  int Open(const char* directory, const char* wildcard);

  /// Closes the listing. Always 1; closing a closed listing does nothing.
  int Close();

  /// Copies the next matching name into `name`, which must hold 256 bytes, and returns 1; 0 at the end and
  /// when no listing is open.
  int GetNext(char* name);

  /// Writes `path` followed by `name` to `result`, which must hold both and a terminator.
  void GetFull(char* result, const char* name);

  /// 1 while a listing is open.
  int IsValid();

 protected:
  char* pattern{nullptr};  ///< Owned copy of the wildcard; null when closed.
  DIR* handle{nullptr};    ///< Null when closed.
  char path[1024]{};       ///< The directory, ending in "/" after a successful Open.
};

#endif

#endif
