#ifndef TAVLIB_SSO_LOOKUPS_H
#define TAVLIB_SSO_LOOKUPS_H

#include <tavlib/protocol/server_interface.h>

#include <chrono>

/// The single-sign-on layer's look-ups in flight, as the rest of the interface sees them.
namespace tavlib {

/// Whether the request belongs to a look-up that the layer made and will finish itself.
bool is_layers_lookup(const ServerInterface::ASyncRequest* request);

/// Finishes every look-up on the server whose answer was read by somebody else. Hosts' callbacks run.
void finish_settled_lookups(unsigned long server);

/// Finishes the gateway server's look-ups whose answer was read by somebody else, and ends every look-up in
/// flight whose request was sent before `started_before`, the oldest first: callback(0) with last error 4.
/// Returns how many it ended.
unsigned expire_lookups(std::chrono::steady_clock::time_point started_before);

/// Deletes every look-up of the layer still in flight, without its callback.
void drop_lookups();

/// The callback that the host's event loop runs when the gateway server's socket is readable; the argument is
/// the server's address. Returns its first argument.
int SSO_SocketReady(int first, void* argument);

}  // namespace tavlib

#endif
