#ifndef TAVLIB_REQUEST_IDS_H
#define TAVLIB_REQUEST_IDS_H

namespace tavlib {

/// A new request id. All servers share one counter, which starts at 1 and wraps; any thread may ask.
unsigned next_request_id();

}  // namespace tavlib

#endif
