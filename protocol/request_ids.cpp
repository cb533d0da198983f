#include "protocol/request_ids.h"

#include <tavlib/platform/interlocked.h>

namespace tavlib {

long last_request_id = 0;

unsigned next_request_id() {
  return static_cast<unsigned>(InterlockedIncrement(&last_request_id));
}

}  // namespace tavlib
