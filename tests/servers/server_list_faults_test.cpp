// The list when sockets or memory run out while it is made.

#include <cerrno>
#include <optional>

#include "servers/configured_list.h"
#include "support/allocation_faults.h"
#include "support/socket_faults.h"

namespace {

using tavtest::AllocationFaults;
using tavtest::ConfiguredListTest;
using tavtest::SocketFaults;
using Addresses = std::vector<std::string>;

class ServerListFaults : public ConfiguredListTest {
 protected:
  ServerListFaults() { config.write_servers({{"127.0.0.2", 9, "a"}, {"127.0.0.3", 9, "b"}}); }
};

TEST_F(ServerListFaults, IsInvalidWhenTheLastServerHasNoSocket) {
  SocketFaults faults;
  faults.fail_one("socket", 1, EMFILE);
  read();
  EXPECT_EQ(list->IsValid(), 0);
  EXPECT_EQ(TAVGetLastError(), 3U);
  EXPECT_EQ(addresses(), (Addresses{"127.0.0.2", "127.0.0.3"}));
  EXPECT_EQ(server("127.0.0.2")->IsValid(), 1);
  EXPECT_EQ(list->GetSocket(inet_addr("127.0.0.3")), -1);
}

TEST_F(ServerListFaults, IsValidWhenOnlyAnEarlierServerHasNoSocket) {
  SocketFaults faults;
  faults.fail_one("socket", 0, EMFILE);
  read();
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(addresses().size(), 2U);
  EXPECT_EQ(server("127.0.0.2")->IsValid(), 0);
}

TEST_F(ServerListFaults, AServerWithoutASocketFailsWithTwelve) {
  SocketFaults faults;
  faults.fail("socket", EMFILE);
  read();
  ServerInterface::ASyncRequest request;
  unsigned version = 0;
  EXPECT_EQ(list->QueryVersion(inet_addr("127.0.0.2"), version, &request), 12U);
  EXPECT_EQ(list->Listen(80, inet_addr("127.0.0.2")), 0);
  EXPECT_EQ(TAVGetLastError(), 12U);
}

TEST_F(ServerListFaults, OfServersWithoutASocketTheFirstIsFoundByNone) {
  SocketFaults faults;
  faults.fail("socket", EMFILE);
  read();
  EXPECT_EQ(list->FindBySocket(-1), server("127.0.0.2"));
}

// Each allocation fails in turn, until a list needs no more of them. An interface that gets no memory for its
// cipher is an invalid one, as without a socket; every other lack of memory is the list's.
TEST_F(ServerListFaults, WithoutMemoryIsInvalidAndKeepsTheServersMadeSoFar) {
  long out_of_memory = 0;
  long out_of_memory_later = 0;  // with the first server in the list already
  long invalid_servers = 0;
  for (long failing = 1;; ++failing) {  // the first allocation is the list's own memory
    SCOPED_TRACE(failing);
    std::optional<AllocationFaults> faults(failing);
    read();
    if (!faults->happened()) break;
    faults.reset();
    if (addresses().size() == 2) {
      const bool last_is_valid = server("127.0.0.3")->IsValid() != 0;
      EXPECT_EQ(server("127.0.0.2")->IsValid() + (last_is_valid ? 1 : 0), 1);
      EXPECT_EQ(list->IsValid(), last_is_valid ? 1 : 0);
      EXPECT_EQ(TAVGetLastError(), last_is_valid ? untouched : 3);
      ++invalid_servers;
      continue;
    }
    EXPECT_EQ(list->IsValid(), 0);
    EXPECT_EQ(TAVGetLastError(), 9U);
    ++out_of_memory;
    if (addresses() == Addresses{"127.0.0.2"}) ++out_of_memory_later;
  }
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(addresses().size(), 2U);
  EXPECT_EQ(invalid_servers, 2);
  EXPECT_GE(out_of_memory_later, 2);                  // the second interface and its place
  EXPECT_GE(out_of_memory, out_of_memory_later + 2);  // and the first one's
}

}  // namespace
