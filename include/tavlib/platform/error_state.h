#ifndef TAVLIB_PLATFORM_ERROR_STATE_H
#define TAVLIB_PLATFORM_ERROR_STATE_H

// The calling thread's operating-system error and run-time error. Both are `errno` on this platform.
//
// Codes are `errno` numbers. The library itself reports these, under the same numbers on every host:
//
//   ENOENT             2
//   ENOMEM            12
//   EACCES            13
//   EFAULT            14
//   EBUSY             16
//   EINVAL            22
//   name too long     78
//   buffer too small  79
//
// The last two have no `errno` name here: on most hosts the system has another error under their numbers, and
// GetOsErrorString returns the text of that.
//
// Threads: every function concerns the calling thread only.

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// The calling thread's `errno`.
TAVLIB_API unsigned GetOsError(void);
/// The same as GetOsError.
TAVLIB_API unsigned GetRtlError(void);

/// Sets the calling thread's `errno`.
TAVLIB_API void SetOsError(unsigned code);
/// The same as SetOsError.
TAVLIB_API void SetRtlError(unsigned code);

/// Copies the text for `code` into `buffer` (null: nowhere), at most `size` bytes, and zeroes the rest of the
/// buffer. No terminating zero is written when the text is `size` bytes or longer.
///
/// Returns the text's full length in bytes: a result of `size` or more means that the text was cut.
TAVLIB_API unsigned GetOsErrorString(unsigned code, char* buffer, unsigned size);
/// The same as GetOsErrorString.
TAVLIB_API unsigned GetRtlErrorString(unsigned code, char* buffer, unsigned size);

/// Turns an operating-system code into a run-time code: `code` itself, since both share one numbering.
TAVLIB_API unsigned OsToRtlError(unsigned code);

TAVLIB_END_C

#ifdef __cplusplus

/// The functions above as static members. An object has no data, and making and destroying one does nothing.
class TAVLIB_API AErrors {
 public:
  AErrors();
  ~AErrors();  // NOLINT(performance-trivially-destructible): a host finds it in the library.
  static unsigned GetOsError();
  static unsigned GetRtlError();
  static void SetOsError(unsigned code);
  static void SetRtlError(unsigned code);
  static unsigned GetOsErrorString(unsigned code, char* buffer, unsigned size);
  static unsigned GetRtlErrorString(unsigned code, char* buffer, unsigned size);
  static unsigned OsToRtlError(unsigned code);
};

#endif

#endif
