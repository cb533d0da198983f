#ifndef TAVLIB_PLATFORM_KEEP_ERROR_H
#define TAVLIB_PLATFORM_KEEP_ERROR_H

#include <cerrno>

namespace tavlib {

/// Keeps the run-time error as it is while something is cleaned up.
class KeepError {
 public:
  KeepError() = default;
  ~KeepError() { error() = saved_; }

  KeepError(const KeepError&) = delete;
  KeepError& operator=(const KeepError&) = delete;

 private:
  // Volatile: compilers assume that free and delete leave errno alone, and would remove a plain store after
  // them. A host's heap may change it.
  static volatile int& error() { return errno; }

  int saved_{error()};
};

}  // namespace tavlib

#endif
