#include <tavlib/api/last_error.h>
#include <tavlib/api/query.h>
#include <tavlib/api/sso.h>

#include "api/attached_request.h"
#include "api/process_state.h"
#include "api/sso_state.h"
#include "platform/keep_error.h"

SSO_TAVContext::SSO_TAVContext(unsigned long lookedUp, char* userBuffer, unsigned userSize,
                               char* secondBuffer, unsigned secondSize, SSO_Callback onEnd, void* onEndCookie)
    : address(lookedUp),
      user(userBuffer),
      userLength(userSize),
      second(secondBuffer),
      secondLength(secondSize),
      callback(onEnd),
      cookie(onEndCookie) {
  entry.address = static_cast<std::uint32_t>(lookedUp);
  if (TAVQueryStartA(&entry, tavlib::kLookupMask, 0, g_SsoServer, 0, &query) == 0) {
    throw tavexception(TAVGetLastError());
  }
  handle.Context = this;
}

SSO_TAVContext::SSO_TAVContext(const SSO_TAVContext& other)
    : query(other.query),
      address(other.address),
      user(other.user),
      userLength(other.userLength),
      second(other.second),
      secondLength(other.secondLength),
      callback(other.callback),
      cookie(other.cookie),
      entry(other.entry),
      handle(other.handle),
      original(false) {}

SSO_TAVContext::~SSO_TAVContext() {
  if (sent && handle.Request != nullptr) tavlib::release_request(handle);
  closeQuery();
}

// A second call is refused before it changes the handle: otherwise the first call's request would be lost,
// and its answer would come to a handle that is gone. A copy starts with the handle of its original, and
// drops the request in it and the pointer back to the original.
void SSO_TAVContext::Go() {
  const bool busy = sent && handle.Request != nullptr;
  if (!busy) handle = {this, nullptr};
  sent = true;
  const int result = busy ? tavlib::refuse(TAV_E_BUSY) : TAVQueryNextAsA(query, &entry, &handle);
  if (result == 1) return;
  // Without a record of its own a thread may find another one's code, so the handle decides.
  if (busy || handle.Request == nullptr) {
    closeQuery();
    throw tavexception(TAVGetLastError());
  }
  auto& request = static_cast<tavlib::AttachedRequest&>(*handle.Request);
  request.lookup.enter(*this, request);
}

int SSO_TAVContext::Finish(int result, unsigned error) {
  if (result == 0 && error != TAV_E_NOMORE) {
    if (error == TAV_E_PENDING) return 0;
    if (callback != nullptr) callback(0, cookie);
    return 1;
  }
  answered = 1;
  if (entry.word12 != 0) {
    tavlib::clear_text(user, userLength);
    tavlib::clear_text(second, secondLength);
  } else {
    tavlib::copy_answer(entry, user, userLength, second, secondLength);
  }
  if (callback != nullptr) callback(1, cookie);
  return 1;
}

void SSO_TAVContext::closeQuery() {
  const tavlib::KeepError keep;
  if (original) TAVQueryClose(query);
  query = nullptr;
}
