#ifndef GATEWAY_SERVERS_H
#define GATEWAY_SERVERS_H

#include <optional>
#include <string>
#include <vector>

#include "user.h"

namespace gateway {

/// The addresses of the configured servers, in network byte order.
std::vector<unsigned long> configured_servers();

/// An address in network byte order as a dotted quad.
std::string dotted(unsigned long address);

/// The version that the server answers with; nothing when it does not answer.
std::optional<unsigned> version_of(unsigned long server);

/// Every entry that the server holds, in its order. The user of an entry that is logged out is nobody. Throws
/// std::runtime_error when an answer does not come.
std::vector<Place> entries_of(unsigned long server);

/// Adds on every server that `place.user` is at `place.address`. True when every server took the entry.
bool add_entry(const Place& place);

}  // namespace gateway

#endif
