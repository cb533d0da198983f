#ifndef TAVLIB_SSO_LOOKUPS_H
#define TAVLIB_SSO_LOOKUPS_H

#include <tavlib/api/sso.h>

#include <chrono>
#include <memory>

/// What happens to the single-sign-on layer's look-ups in flight. All of this belongs to the layer's thread.
///
/// Only the outermost of the calls in which hosts' callbacks are called goes on to the next look-up. A
/// callback that waits for a look-up leaves the look-ups whose answers it has read to the call that called
/// it: the stack does not grow with the look-ups in flight.
namespace tavlib {

/// Makes the layer the owner of a look-up that was just sent: the layer deletes it when it ends.
void give_to_layer(std::unique_ptr<SSO_TAVContext> sent);

/// Finishes every look-up on the server whose answer another call has read, unless a callback is running.
void finish_settled_lookups(unsigned long server);

/// Finishes the gateway server's look-ups whose answer another call has read. Also abandons every look-up in
/// flight whose request was sent before `started_before`, the oldest first: its callback is called with 0 and
/// TAV_E_ABANDONED.
///
/// Returns how many it abandoned. Within a callback the requests are abandoned at once, and their callbacks
/// are called once that callback has returned.
unsigned expire_lookups(std::chrono::steady_clock::time_point started_before);

/// Deletes every look-up of the layer still in flight, without calling its callback.
void drop_lookups();

/// What the host's event loop calls when the gateway server's socket is readable. The second argument is the
/// server's address. Returns the first argument.
int SSO_SocketReady(int first, void* argument);

}  // namespace tavlib

#endif
