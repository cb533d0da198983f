#ifndef TAVLIB_ATTACHED_REQUEST_H
#define TAVLIB_ATTACHED_REQUEST_H

#include <tavlib/api/async.h>

/// The request that a caller's asynchronous handle stands for: it lives from attach_request to
/// release_request.
namespace tavlib {

/// A request and the server list through which it is sent.
struct AttachedRequest : ServerInterface::ASyncRequest {
  unsigned listSerial{0};
};

/// Gives the handle a new request, its packet cleared. Throws std::bad_alloc, the handle then being empty.
ServerInterface::ASyncRequest* attach_request(TAVASYNC& async);

/// Takes the request out of every table and frees it; the handle is empty afterwards.
void release_request(TAVASYNC& async);

/// What a function returns for the lower layer's `status`: 1 for 0, else 0 with the status as last error. The
/// request stays attached in the first case and while it is pending, and is released otherwise.
int started(TAVASYNC& async, unsigned status);

/// Releases a settled request and gives the result that its status stands for.
int conclude(TAVASYNC& async);

/// The server that sent the request; null when the library was exited since.
ServerInterface* living_owner(const ServerInterface::ASyncRequest& request);

/// The handle to which the request is attached; null for a request that is none of ours.
TAVASYNC* handle_of(const ServerInterface::ASyncRequest* request);

}  // namespace tavlib

#endif
