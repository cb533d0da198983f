#ifndef GATEWAY_EVENT_LOOP_H
#define GATEWAY_EVENT_LOOP_H

#include <map>

namespace gateway {

/// The gateway's event loop: epoll over the sockets that were registered with T_event_set_socket. One thread.
class EventLoop {
 public:
  using Ready = int (*)(int, void*);

  static EventLoop& instance();

  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Calls `ready(n, argument)` whenever `socket` is readable; n is the number of the round. 0, or -1 when
  /// the system refuses the socket.
  int watch(int socket, Ready ready, void* argument);

  /// Stops watching `socket`. 0, or -1 for a socket that is not watched.
  int forget(int socket);

  /// Waits until a socket is readable, and calls `ready` for each one that is. False when `milliseconds` went
  /// by without one.
  bool run_once(int milliseconds);

 private:
  struct Watch {
    Ready ready;
    void* argument;
  };

  EventLoop();
  ~EventLoop();

  int epoll_;
  int round_{0};
  std::map<int, Watch> watches_;
};

}  // namespace gateway

#endif
