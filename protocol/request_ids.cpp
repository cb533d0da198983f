#include "protocol/request_ids.h"

#include <tavlib/platform/interlocked.h>

namespace tavlib {

unsigned next_request_id() {
  static long lastId = 0;
  return static_cast<unsigned>(InterlockedIncrement(&lastId));
}

}  // namespace tavlib
