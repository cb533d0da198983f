#ifndef TAVLIB_ATTACHED_REQUEST_H
#define TAVLIB_ATTACHED_REQUEST_H

#include <tavlib/api/async.h>

#include "api/lookup_in_flight.h"

namespace tavlib {

/// The request that is attached to a caller's asynchronous handle. It exists from attach_request to
/// release_request. Every request with a handle in the tables of the library's servers is one of these.
struct AttachedRequest : ServerInterface::ASyncRequest {
  unsigned listSerial{0};   ///< Of the server list through which it is sent.
  LookupInFlight lookup{};  ///< Listed when the request is a look-up's.
};

/// Attaches a new request, its packet cleared, to the handle. Throws std::bad_alloc, after which the handle
/// is empty.
ServerInterface::ASyncRequest* attach_request(TAVASYNC& async);

/// Removes the request from every table and frees it. The handle is empty afterwards.
void release_request(TAVASYNC& async);

/// The result of a function that started a request with `status`. Returns
///   1                 for status 0; the request stays attached
///   0, TAV_E_PENDING  for this status; the request stays attached
///   0, `status`       for any other; the request is released
int started(TAVASYNC& async, unsigned status);

/// Releases a completed request. Returns the result for its status: 1 for status 0, otherwise 0 with the
/// status as last error.
int conclude(TAVASYNC& async);

/// The server that sent the request; null when the library was exited since.
ServerInterface* living_owner(const ServerInterface::ASyncRequest& request);

/// The handle to which the request is attached; null for a request that is attached to none.
TAVASYNC* handle_of(const ServerInterface::ASyncRequest* request);

/// The look-up that awaits the request's answer; null for any other request.
const LookupInFlight* lookup_of(const ServerInterface::ASyncRequest* request);

}  // namespace tavlib

#endif
