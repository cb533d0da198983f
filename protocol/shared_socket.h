#ifndef TAVLIB_SHARED_SOCKET_H
#define TAVLIB_SHARED_SOCKET_H

#include <tavlib/protocol/server_interface.h>

namespace tavlib {

/// Reads one datagram on behalf of one of the callers who share the socket. Returns the request to which it
/// belongs if `wanted(request)` is true for that.
///
/// Null when there is no such request. When the datagram completes another request that has a handle, that
/// request is kept for its owner.
template <typename Wanted>
ServerInterface::ASyncRequest* complete_if(ServerInterface& transport, Wanted wanted) {
  ServerInterface::ASyncRequest* request = transport.CompleteRequest();
  if (request == nullptr || wanted(request)) return request;
  if (request->status != TAV_E_PENDING && request->handle != nullptr) transport.KeepSettled(request);
  return nullptr;
}

}  // namespace tavlib

#endif
