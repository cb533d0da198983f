#ifndef TAVLIB_PLATFORM_WAIT_READABLE_H
#define TAVLIB_PLATFORM_WAIT_READABLE_H

#include <sys/time.h>

namespace tavlib {

/// Waits until descriptor `fd` is readable or `timeout` has passed: `select` with one descriptor in the read
/// set and no other set, for every descriptor number.
///
/// Returns what `select` returned:
///   1   readable
///   0   timed out
///   -1  with `errno` set; without waiting, EBADF for a negative `fd`, and ENOMEM without memory for the set
int wait_readable(int fd, timeval timeout);

}  // namespace tavlib

#endif
