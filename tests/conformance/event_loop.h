#ifndef TAVLIB_TESTS_CONFORMANCE_EVENT_LOOP_H
#define TAVLIB_TESTS_CONFORMANCE_EVENT_LOOP_H

#include <functional>
#include <map>
#include <vector>

namespace tavtest {

/// A host's event loop over epoll, behind the two functions T_event_set_socket and T_event_del_socket that
/// the test program gives the library. They go to the object that lives (one at a time); without one they do
/// nothing.
class EventLoop {
 public:
  EventLoop();
  ~EventLoop();

  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Serves readable sockets until `done` holds. False when nothing happened for five seconds.
  bool run_until(const std::function<bool()>& done);

  /// Serves each socket that is readable now, once.
  void run_once();

  /// What the library asked for so far, oldest first.
  const std::vector<int>& added() const { return added_; }
  const std::vector<int>& removed() const { return removed_; }

  /// Used by the two functions.
  void add(int socket, int (*ready)(int, void*), void* argument);
  void remove(int socket);

 private:
  struct Watched {
    int (*ready)(int, void*);
    void* argument;
  };

  bool serve(int timeout_ms);

  int epoll_;
  std::map<int, Watched> watched_;
  std::vector<int> added_;
  std::vector<int> removed_;
};

}  // namespace tavtest

#endif
