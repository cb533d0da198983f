#ifndef TAVLIB_TESTS_SERVERS_CONFIGURED_LIST_H
#define TAVLIB_TESTS_SERVERS_CONFIGURED_LIST_H

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include <memory>
#include <string>
#include <vector>

#include "support/config_file.h"

namespace tavtest {

/// A configuration written line by line, and the list that is made from it.
class ConfiguredListTest : public ::testing::Test {
 protected:
  static constexpr unsigned untouched = 99;  ///< The last error before the list is made.

  /// The list of the configuration as it stands.
  TAVServerList& read() {
    TAVSetLastError(untouched);
    list = std::make_unique<TAVServerList>();
    return *list;
  }

  TAVServerList& read(const std::vector<std::string>& lines) {
    config.write_lines(lines);
    return read();
  }

  /// The addresses of the list's servers, as they are written, in its order.
  std::vector<std::string> addresses() const {
    std::vector<std::string> all;
    for (unsigned i = 0; list->GetServer(i) != 0; ++i) {
      const in_addr address{static_cast<in_addr_t>(list->GetServer(i))};
      all.emplace_back(inet_ntoa(address));
    }
    return all;
  }

  TAVServerInterface* server(const char* address) { return list->FindByServer(inet_addr(address)); }

  /// The list is not valid, and holds no server; the last error says why.
  void expect_nothing_usable() {
    EXPECT_EQ(list->IsValid(), 0);
    EXPECT_EQ(TAVGetLastError(), 3U);
    EXPECT_TRUE(addresses().empty());
  }

  TestConfig config;
  std::unique_ptr<TAVServerList> list;
};

}  // namespace tavtest

#endif
