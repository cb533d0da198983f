#include <tavlib/api/last_error.h>
#include <tavlib/api/lifecycle.h>
#include <tavlib/api/query.h>
#include <tavlib/api/sso.h>
#include <tavlib/platform/error_state.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "api/event_loop.h"
#include "api/process_state.h"
#include "api/sso_lookups.h"
#include "api/sso_state.h"
#include "platform/keep_error.h"

std::uint32_t g_SsoReady = 0;
unsigned long g_SsoServer = 0;
_TAVENTRYA g_SsoEntry;

namespace {

// Nobody is at the address. These two writes do not check for null buffers.
void write_nobody(char* user, unsigned userLength, char* second, unsigned secondLength) {
  if (userLength != 0) *user = '\0';
  if (secondLength != 0) *second = '\0';
}

struct CloseQuery {
  void operator()(TAVQueryEnum* query) const {
    const tavlib::KeepError keep;
    TAVQueryClose(query);
  }
};

// The look-up itself: the answer is stored in the buffers. Throws std::bad_alloc when there is no memory for
// the request; the enumeration is then closed, too.
int look_up(unsigned long address, char* user, unsigned userLength, char* second, unsigned secondLength) {
  g_SsoEntry = _TAVENTRYA{};
  g_SsoEntry.address = static_cast<std::uint32_t>(address);
  TAVQueryEnum* started = nullptr;
  if (TAVQueryStartA(&g_SsoEntry, tavlib::kLookupMask, 0, g_SsoServer, 0, &started) == 0) return 0;
  const std::unique_ptr<TAVQueryEnum, CloseQuery> query(started);  // owns the answer's texts

  int result = TAVQueryNextA(query.get(), &g_SsoEntry);
  if (result == 0 && TAVGetLastError() == TAV_E_NOMORE) {
    tavlib::clear_text(user, userLength);
    tavlib::clear_text(second, secondLength);
    result = 1;
  } else if (result == 1 && g_SsoEntry.word12 != 0) {
    write_nobody(user, userLength, second, secondLength);
  } else if (result == 1) {
    tavlib::copy_answer(g_SsoEntry, user, userLength, second, secondLength);
  }
  return result;
}

}  // namespace

namespace tavlib {

void clear_text(char* buffer, unsigned length) {
  if (buffer != nullptr && length != 0) *buffer = '\0';
}

namespace {

void copy_text(char* buffer, unsigned length, const char* text) {
  if (text == nullptr) {
    clear_text(buffer, length);
  } else if (buffer != nullptr) {
    std::strncpy(buffer, text, length);  // a text that fills the buffer has no terminator
  }
}

}  // namespace

void copy_answer(const _TAVENTRYA& entry, char* user, unsigned userLength, char* second,
                 unsigned secondLength) {
  copy_text(user, userLength, entry.user);
  copy_text(second, secondLength, entry.string3);
}

}  // namespace tavlib

const char* SSO_Init() {
  g_SsoReady = 0;
  if (TAVInitialize() == 0) return nullptr;
  // TAVInitialize is not undone: it stays counted, and the library initialised.
  if (tavlib::SSO_Configure() == 0) return nullptr;
  g_SsoReady = 1;
  return "Norvel TAV/TIZ";
}

// The layer is down before the host's function is called: that may exit the layer once more.
void SSO_Exit() {
  if (g_SsoReady == 0) return;
  g_SsoReady = 0;
  if (T_event_del_socket != nullptr) T_event_del_socket(TAVGetSocket(g_SsoServer));
  tavlib::drop_lookups();
  TAVExit();
}

unsigned SSO_GetLastError() {
  return TAVGetLastError();
}

int SSO_GetUserByAddr(unsigned long address, char* user, unsigned userLength, char* second,
                      unsigned secondLength) {
  if (g_SsoServer == 0) return tavlib::refuse(TAV_E_NOTINITIALISED);
  if (g_SsoReady == 0) return 0;
  const int result = look_up(address, user, userLength, second, secondLength);
  const unsigned lastError = TAVGetLastError();
  const tavlib::KeepError keep;
  tavlib::finish_settled_lookups(g_SsoServer);
  if (result == 0) TAVSetLastError(lastError);  // the callbacks may have left another
  return result;
}

void SSO_GetUserByAddrAsync(unsigned long address, char* user, unsigned userLength, char* second,
                            unsigned secondLength, SSO_Callback callback, void* cookie) {
  std::unique_ptr<SSO_TAVContext> lookup;
  unsigned failure = 0;
  unsigned reason = 0;  // kept over the release of the exception
  try {
    lookup =
        std::make_unique<SSO_TAVContext>(address, user, userLength, second, secondLength, callback, cookie);
    lookup->Go();
    tavlib::give_to_layer(std::move(lookup));
    return;
  } catch (const tavexception& exception) {
    failure = exception.code;
    reason = AErrors::GetOsError();
  } catch (const std::bad_alloc&) {
    failure = TAV_E_NOMEMORY;
    reason = AErrors::GetOsError();
  }
  TAVSetLastError(failure);
  AErrors::SetOsError(reason);
  if (callback != nullptr) callback(0, cookie);
}

unsigned SSO_ExpireLookups(unsigned milliseconds) {
  const auto now = std::chrono::steady_clock::now();
  if (g_ServerList == nullptr) return static_cast<unsigned>(tavlib::refuse(TAV_E_NOTINITIALISED));
  return tavlib::expire_lookups(now - std::chrono::milliseconds(milliseconds));
}
