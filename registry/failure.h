#ifndef TAVLIB_REGISTRY_FAILURE_H
#define TAVLIB_REGISTRY_FAILURE_H

#include "platform/error_codes.h"

#include <tavlib/platform/error_state.h>

namespace tavlib {

/// Sets the run-time error and returns the result of a failed operation.
inline int fail(unsigned code) {
  AErrors::SetRtlError(code);
  return 0;
}

}  // namespace tavlib

#endif
