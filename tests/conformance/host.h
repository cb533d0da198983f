#ifndef TAVLIB_TESTS_CONFORMANCE_HOST_H
#define TAVLIB_TESTS_CONFORMANCE_HOST_H

#include <tavlib/tavlib.h>

namespace tavtest {

/// The library, initialised for as long as the object lives.
class Library {
 public:
  Library();
  ~Library();

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

/// The last error after a call that returned 0, and 0 after any other.
unsigned error_of(int result);

/// The address of a server.
unsigned long address_of(const char* dotted);

/// The address of a user, as the servers here know it: on every host the number that inet_addr gives on a
/// little-endian one.
unsigned long user_address(const char* dotted);

/// Whether a server has two entries whose word7 is 2. The query sets what a query can: all arguments, a wide
/// text that does not count, and word13, which does not travel.
bool finds_two_entries(unsigned long server);

/// Whether the socket becomes readable within five seconds.
bool is_readable(int socket);

/// Whether a datagram is there now.
bool is_readable_now(int socket);

}  // namespace tavtest

#endif
