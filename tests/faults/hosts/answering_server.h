#ifndef TAVLIB_TESTS_FAULTS_HOSTS_ANSWERING_SERVER_H
#define TAVLIB_TESTS_FAULTS_HOSTS_ANSWERING_SERVER_H

#include <string>

#include "support/fake_server.h"

namespace tavtest {

/// A server that knows what to answer, at once or when it is told to: its version; for a look-up the user
/// "USER <address>" in the tree "TREE"; for any other query the entry behind the one that it is given, from
/// address 1 to `entries`; and that it took an entry.
class AnsweringServer : public FakeServer {
 public:
  static constexpr std::uint32_t entries = 3;

  explicit AnsweringServer(const std::string& address = "127.0.0.1", std::uint32_t version = 0x00010002)
      : FakeServer("secret of " + address, address), version_(version) {}

  /// Answers one request.
  void answer(const Request& request);

  /// Answers every request that has arrived.
  void answer_all();

  int entries_taken() const { return entries_taken_; }

 private:
  void answer_query(const Request& request);

  std::uint32_t version_;
  int entries_taken_ = 0;
};

/// The name of the user whom an AnsweringServer finds at an address.
std::string user_at(unsigned long address);

/// The address that a query's filter holds.
std::uint32_t asked_address(const FakeServer::Request& request);

}  // namespace tavtest

#endif
