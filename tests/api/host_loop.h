#ifndef TAVLIB_TESTS_API_HOST_LOOP_H
#define TAVLIB_TESTS_API_HOST_LOOP_H

#include <functional>
#include <vector>

namespace tavtest {

/// The event loop of a host: records what the library does with T_event_set_socket and T_event_del_socket,
/// and runs the registered callback when the test says so.
class HostLoop {
 public:
  struct Registration {
    int socket;
    int (*ready)(int, void*);
    void* argument;
  };

  struct Removal {
    int socket;
    bool library_was_up;  ///< Whether the server list still existed.
  };

  std::vector<Registration> set;  ///< Every registration so far, oldest first.
  std::vector<Removal> removed;   ///< Every removal so far, oldest first.
  std::function<void()> then{};   ///< What the host does in T_event_del_socket, too.

  /// Runs the youngest registration's callback once, readable or not, and returns its result.
  int run(int first = 0) const;

  /// Runs it for as long as its socket is readable; at least the number of times returned. Throws when the
  /// callback leaves the socket readable for ever.
  int run_ready() const;
};

/// The loop that the library finds when it is loaded.
HostLoop& host_loop();

}  // namespace tavtest

#endif
