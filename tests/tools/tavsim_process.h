#ifndef TAVSIM_TESTS_TAVSIM_PROCESS_H
#define TAVSIM_TESTS_TAVSIM_PROCESS_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace tavtest {

/// A running tavsim, with its outputs read through pipes. Killed at the end if it still runs.
class TavsimProcess {
 public:
  explicit TavsimProcess(const std::vector<std::string>& arguments);
  ~TavsimProcess();

  TavsimProcess(const TavsimProcess&) = delete;
  TavsimProcess& operator=(const TavsimProcess&) = delete;

  /// Reads one line of its standard output, without the newline; "" at the end of output.
  std::string read_line();

  /// Reads the line that says where it listens. Throws std::runtime_error when it is another.
  std::uint16_t wait_for_port(const std::string& address = "127.0.0.1");

  void signal(int number) const;

  /// Waits for its end: the exit code, or 128 and the number of the signal that ended it.
  int wait();

  /// All that is left of its standard error.
  std::string read_errors();

 private:
  pid_t pid_ = -1;
  int output_ = -1;
  int errors_ = -1;
};

/// A UDP socket with tavsim as its peer.
class Client {
 public:
  Client(const std::string& address, std::uint16_t port);
  ~Client();

  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void send(const Bytes& datagram) const;

  /// The next datagram. Throws std::runtime_error when none comes within ten seconds.
  Bytes receive() const;

  /// Nothing waits to be received now.
  bool is_idle() const;

 private:
  int socket_;
};

}  // namespace tavtest

#endif
