#ifndef TAVLIB_REGISTRY_FAILURE_H
#define TAVLIB_REGISTRY_FAILURE_H

#include "platform/error_codes.h"

#include <tavlib/platform/error_state.h>

#include <cerrno>

namespace tavlib {

/// Sets the run-time error and gives the result of a failed operation.
inline int fail(unsigned code) {
  AErrors::SetRtlError(code);
  return 0;
}

/// Keeps the run-time error as it is while something is cleaned up.
class KeepError {
 public:
  KeepError() = default;
  ~KeepError() { errno = saved_; }

  KeepError(const KeepError&) = delete;
  KeepError& operator=(const KeepError&) = delete;

 private:
  int saved_{errno};
};

}  // namespace tavlib

#endif
