#include "api/attached_request.h"

#include "api/process_state.h"
#include "platform/keep_error.h"

namespace tavlib {

ServerInterface::ASyncRequest* attach_request(TAVASYNC& async) {
  async.Request = nullptr;
  auto* request = new AttachedRequest;  // cleared by its own initialisers
  request->handle = &async;
  request->listSerial = g_ServerList->GetSerial();
  async.Request = request;
  return request;
}

void release_request(TAVASYNC& async) {
  const KeepError keep;  // why the request could not be sent
  ServerInterface::ASyncRequest* request = async.Request;
  async.Request = nullptr;
  if (ServerInterface* owner = living_owner(*request)) owner->Forget(request);
  delete static_cast<AttachedRequest*>(request);
}

int started(TAVASYNC& async, unsigned status) {
  if (status == 0) return 1;
  if (status != TAV_E_PENDING) release_request(async);
  return refuse(status);
}

int conclude(TAVASYNC& async) {
  const unsigned status = async.Request->status;
  release_request(async);
  return status == 0 ? 1 : refuse(status);
}

// Comparing pointers is not enough: the next library may have a server at the address of this request's.
ServerInterface* living_owner(const ServerInterface::ASyncRequest& request) {
  const unsigned serial = static_cast<const AttachedRequest&>(request).listSerial;
  return g_ServerList != nullptr && g_ServerList->GetSerial() == serial ? request.owner : nullptr;
}

TAVASYNC* handle_of(const ServerInterface::ASyncRequest* request) {
  auto* async = static_cast<TAVASYNC*>(request->handle);
  return async != nullptr && async->Request == request ? async : nullptr;
}

const LookupInFlight* lookup_of(const ServerInterface::ASyncRequest* request) {
  if (handle_of(request) == nullptr) return nullptr;
  const LookupInFlight& lookup = static_cast<const AttachedRequest*>(request)->lookup;
  return lookup.context() == nullptr ? nullptr : &lookup;
}

}  // namespace tavlib
