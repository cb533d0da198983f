#ifndef TAVLIB_TESTS_SUPPORT_SOCKET_FAULTS_H
#define TAVLIB_TESTS_SUPPORT_SOCKET_FAULTS_H

#include <cstddef>
#include <string>
#include <vector>

namespace tavtest {

/// Socket calls that fail or fall short while the object lives (one at a time), and a record of those made.
/// Without an object each call goes straight to libc. A program gets this by linking tavlib_test_faults.
class SocketFaults {
 public:
  SocketFaults();
  ~SocketFaults();

  SocketFaults(const SocketFaults&) = delete;
  SocketFaults& operator=(const SocketFaults&) = delete;

  /// Each further call of `name` ("socket", "sendto" or "recvfrom") fails with `error_number`; 0 ends that.
  void fail(const std::string& name, int error_number);

  /// Only the call number `index` of `name`, counted from 0, fails.
  void fail_one(const std::string& name, std::size_t index, int error_number);

  /// Each further sendto sends nothing and answers that it sent all but the last `missing` bytes.
  void shorten_sends(long missing);

  /// The names of the calls so far, failed ones included: socket, bind, connect, setsockopt, sendto,
  /// recvfrom.
  const std::vector<std::string>& calls() const;
};

}  // namespace tavtest

#endif
