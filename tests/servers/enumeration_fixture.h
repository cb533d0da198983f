#ifndef TAVLIB_TESTS_SERVERS_ENUMERATION_FIXTURE_H
#define TAVLIB_TESTS_SERVERS_ENUMERATION_FIXTURE_H

#include <gtest/gtest.h>
#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/server_list.h>

#include "servers/sample_entry.h"
#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/oracle.h"

namespace tavtest {

/// A list of one server, and an enumeration on it with the sample as its filter.
class EnumerationTest : public ::testing::Test {
 protected:
  using Request = ServerInterface::ASyncRequest;

  EnumerationTest() { filter = sample_record<_TAVENTRYW>(); }

  /// A new enumeration of `filter`.
  std::unique_ptr<TAVQueryEnum> open() {
    return std::make_unique<TAVQueryEnum>(peer.address_number(), filter, 0xa1, 0xa2, 0xa3, &list);
  }

  TAVServerInterface& server() { return *list.FindByServer(peer.address_number()); }

  /// Starts a step that is sent, and gives what the server got.
  template <typename Record>
  FakeServer::Request start(TAVQueryEnum& enumeration, Record& out, Request& with) {
    EXPECT_EQ(enumeration.QueryNext(out, &with), 14U);
    return peer.receive();
  }

  /// A whole step that `entry` answers.
  template <typename Record>
  unsigned step(TAVQueryEnum& enumeration, Record& out, const WireEntry& entry) {
    Request used;
    peer.reply_entry(start(enumeration, out, used), entry);
    EXPECT_EQ(server().CompleteRequest(), &used);
    return used.status;
  }

  /// Reads the reply that is there and expects that it belongs to `to`.
  unsigned complete(const Request& to) {
    EXPECT_EQ(server().CompleteRequest(), &to);
    return to.status;
  }

  FakeServer peer{"wheel"};
  TestConfig config{{peer.configured()}};
  TAVServerList list;
  _TAVENTRYW filter;
  Request request;
};

}  // namespace tavtest

#endif
