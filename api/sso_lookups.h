#ifndef TAVLIB_SSO_LOOKUPS_H
#define TAVLIB_SSO_LOOKUPS_H

#include <tavlib/api/sso.h>

#include <chrono>
#include <memory>

/// What becomes of the single-sign-on layer's look-ups in flight. All of this belongs to the layer's thread.
///
/// Where hosts' callbacks run, only the outermost call goes on to the next look-up: a callback that looks up,
/// waiting, leaves the look-ups whose answers it has read to the call that called it, so that the stack does
/// not grow with the look-ups in flight.
namespace tavlib {

/// Makes a look-up that was just sent the layer's own: the layer deletes it when it ends.
void give_to_layer(std::unique_ptr<SSO_TAVContext> sent);

/// Finishes every look-up on the server whose answer was read by somebody else, unless a callback is running.
void finish_settled_lookups(unsigned long server);

/// Finishes the gateway server's look-ups whose answer was read by somebody else, and ends every look-up in
/// flight whose request was sent before `started_before`, the oldest first: callback(0) with TAV_E_ABANDONED.
/// Returns how many it ended. Within a callback the requests are abandoned at once, and the callbacks come
/// once that callback has returned.
unsigned expire_lookups(std::chrono::steady_clock::time_point started_before);

/// Deletes every look-up of the layer still in flight, without its callback.
void drop_lookups();

/// The callback that the host's event loop runs when the gateway server's socket is readable; the argument is
/// the server's address. Returns its first argument.
int SSO_SocketReady(int first, void* argument);

}  // namespace tavlib

#endif
