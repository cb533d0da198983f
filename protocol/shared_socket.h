#ifndef TAVLIB_SHARED_SOCKET_H
#define TAVLIB_SHARED_SOCKET_H

#include <tavlib/protocol/server_interface.h>

namespace tavlib {

/// Reads one datagram on behalf of one of those who share the socket. Returns the request to which it
/// belonged if that is one for which `wanted(request)` is true. Another one that the datagram completes is
/// kept for its owner, if it has a handle to be found by; the result is then null, as when there was no such
/// request.
template <typename Wanted>
ServerInterface::ASyncRequest* complete_if(ServerInterface& transport, Wanted wanted) {
  ServerInterface::ASyncRequest* request = transport.CompleteRequest();
  if (request == nullptr || wanted(request)) return request;
  if (request->status != TAV_E_PENDING && request->handle != nullptr) transport.KeepSettled(request);
  return nullptr;
}

}  // namespace tavlib

#endif
