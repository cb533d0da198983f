#ifndef TAVLIB_REQUEST_IDS_H
#define TAVLIB_REQUEST_IDS_H

namespace tavlib {

/// The last id that was used, in the low 32 bits; 0 when the library is loaded.
extern long last_request_id;

/// A new request id. All servers share one counter, which starts at 1 and wraps. Any thread may call it.
unsigned next_request_id();

}  // namespace tavlib

#endif
