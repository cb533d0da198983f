#ifndef TAVLIB_ATTACHED_REQUEST_H
#define TAVLIB_ATTACHED_REQUEST_H

#include <tavlib/api/async.h>

#include "api/lookup_in_flight.h"

namespace tavlib {

/// The request that a caller's asynchronous handle stands for. It lives from attach_request to
/// release_request. Every request with a handle that the library's servers have in their tables is one of
/// these.
struct AttachedRequest : ServerInterface::ASyncRequest {
  unsigned listSerial{0};   ///< Of the server list through which it is sent.
  LookupInFlight lookup{};  ///< Listed when the request is a look-up's.
};

/// Gives the handle a new request, its packet cleared. Throws std::bad_alloc, the handle then being empty.
ServerInterface::ASyncRequest* attach_request(TAVASYNC& async);

/// Takes the request out of every table and frees it; the handle is empty afterwards.
void release_request(TAVASYNC& async);

/// What a function returns for the lower layer's `status`: 1 for 0, else 0 with the status as last error. The
/// request stays attached in the first case and while it is pending, and is released otherwise.
int started(TAVASYNC& async, unsigned status);

/// Releases a completed request and returns the result that its status stands for.
int conclude(TAVASYNC& async);

/// The server that sent the request; null when the library was exited since.
ServerInterface* living_owner(const ServerInterface::ASyncRequest& request);

/// The handle to which the request is attached; null for a request that is none of ours.
TAVASYNC* handle_of(const ServerInterface::ASyncRequest* request);

/// The look-up that awaits the request's answer; null for any other request.
const LookupInFlight* lookup_of(const ServerInterface::ASyncRequest* request);

}  // namespace tavlib

#endif
