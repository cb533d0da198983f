#ifndef TAVLIB_TESTS_FUZZ_DATAGRAMS_H
#define TAVLIB_TESTS_FUZZ_DATAGRAMS_H

#include <netinet/in.h>

#include <optional>

#include "support/bytes.h"

/// The network as the library sees it: its sendto and recvfrom end here, without a kernel in between.
namespace tavtest {

/// The next datagram to be received; nothing when none waits.
void deliver(std::optional<Bytes> datagram);

/// Makes the bytes behind the received datagram usable again, which no one may look at until then.
void end_delivery();

/// Whether sending fails.
void fail_sending(bool fails);

/// The datagram that was sent last; empty when there is none since the last call.
Bytes take_sent();

/// To whom it was sent.
sockaddr_in last_receiver();

}  // namespace tavtest

#endif
