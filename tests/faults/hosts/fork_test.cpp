// Hosts that fork, with and without exec, while the library is up.

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "conformance/event_loop.h"
#include "faults/hosts/child_process.h"
#include "faults/hosts/descriptors.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

// The name under which /proc shows a descriptor: "socket:[4711]", or a path.
std::string name_of(int descriptor) {
  std::array<char, 4096> name{};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  return readlink(link.c_str(), name.data(), name.size() - 1) == -1 ? "none" : name.data();
}

class ForkingHost : public HostTest {
 protected:
  ForkingHost() { EXPECT_NE(SSO_Init(), nullptr); }

  // 0 when the library gives the right version.
  int ask() const {
    unsigned version = 0;
    return TAVQueryVersion(address(), &version) == 1 && version == 0x00010002 ? 0 : 1;
  }

  // The user whom a blocking look-up finds.
  static std::string look_up(unsigned long where) {
    std::array<char, 32> user{};
    return SSO_GetUserByAddr(where, user.data(), 31, nullptr, 0) == 1 ? user.data() : "failed";
  }

  // Whether the event loop ends a look-up of the parent after a child did `work`.
  bool ends_after(const std::function<void()>& work) {
    lookup.start(somewhere);
    EXPECT_EQ(in_child([&] {
                work();
                return 0;
              }),
              0);
    server.answer_all();
    loop.run_once();
    return lookup.told == 1;
  }

  EventLoop loop;
  Lookup lookup;
};

}  // namespace

TEST_F(ForkingHost, EveryDescriptorOfTheLibraryIsClosedOnExec) {
  SSO_Exit();
  const std::set<int> before = open_descriptors();
  ASSERT_NE(SSO_Init(), nullptr);
  ARegistryKey* const missing = ARegKeyFile((config.path() + ".new").c_str());
  ARegistryKey* const root = ARegKeyFile(config.path().c_str());
  ARegistry reading;
  ARegistry writing;
  ASSERT_EQ(reading.Open(root, "tavlib\\Addresses", 0, nullptr, 1), 1);
  ASSERT_EQ(writing.Open(root, "tavlib\\Addresses", 0, nullptr, REGISTRY_ACCESS_WRITE), 1);
  const unsigned char text[] = "x";
  ASSERT_EQ(writing.SetValue("name", REG_SZ, 2, text), 1);
  const std::set<int> opened = opened_since(before);
  EXPECT_GE(opened.size(), 4U);
  for (const int descriptor : opened)
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC) << name_of(descriptor);
  ARegKeyFileClose(missing);
  ARegKeyFileClose(root);
}

TEST_F(ForkingHost, AProgramThatItExecutesSeesNoneOfThem) {
  const int socket_of_host = socket(AF_INET, SOCK_DGRAM, 0);
  ARegistryKey* const root = ARegKeyFile(config.path().c_str());
  ARegistry handle;
  ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, REGISTRY_ACCESS_WRITE), 1);
  const std::string inherited = output_of("readlink /proc/self/fd/*");
  EXPECT_NE(inherited.find(name_of(socket_of_host)), std::string::npos) << "what is inherited is seen";
  EXPECT_EQ(inherited.find(name_of(TAVGetSocket(address()))), std::string::npos) << inherited;
  EXPECT_EQ(inherited.find(config.path()), std::string::npos) << inherited;
  ARegKeyFileClose(root);
  close(socket_of_host);
}

TEST_F(ForkingHost, AChildThatOnlyEndsLeavesTheParentsTrafficAlone) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  EXPECT_EQ(in_child([] { return 0; }), 0);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(version, 0x00010002U);
  EXPECT_EQ(look_up(somewhere), user_at(somewhere));
}

TEST_F(ForkingHost, AChildThatExitsTheLibraryLeavesTheParentsTrafficAlone) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  EXPECT_EQ(in_child([&] {
              TAVExit();
              const bool refused = error_of(TAVASyncStatus(&async, 1)) == 7;
              return refused && !library_is_up() && TAVGetLastError() == 7 ? 0 : 1;
            }),
            0);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(version, 0x00010002U);
  EXPECT_EQ(look_up(somewhere), user_at(somewhere));
}

TEST_F(ForkingHost, AChildThatStartsTheLibraryAnewHasASocketOfItsOwn) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  const std::string inherited = name_of(TAVGetSocket(address()));
  EXPECT_EQ(in_child([&] {
              TAVExit();
              if (SSO_Init() == nullptr || name_of(TAVGetSocket(address())) == inherited) return 1;
              if (look_up(7) != user_at(7)) return 2;
              return ask();
            }),
            0);
  // The child's look-ups and the parent's requests have the same ids and come from different ports.
  EXPECT_EQ(look_up(somewhere), user_at(somewhere));
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(version, 0x00010002U);
}

TEST_F(ForkingHost, AChildMayUseTheLibraryWhileTheParentDoesNot) {
  EXPECT_EQ(in_child([this] { return look_up(7) == user_at(7) ? ask() : 1; }), 0);
  EXPECT_EQ(look_up(somewhere), user_at(somewhere));
}

TEST_F(ForkingHost, AnAnswerThatTheChildReadsFromTheSharedSocketIsMissingInTheParent) {
  unsigned version = 0;
  TAVASYNC async{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  server.answer_all();
  EXPECT_EQ(in_child([&] { return TAVASyncStatus(&async, 0) == 1 && version == 0x00010002 ? 0 : 1; }), 0);
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 14U);
  EXPECT_EQ(version, 0U);
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 1)), 4U);
}

// Why a child must not go on with what it inherited: both give their next request the same id.
TEST_F(ForkingHost, ParentAndChildThatBothAskOnTheSharedSocketMayGetEachOthersAnswer) {
  time.on_wait({});
  EXPECT_EQ(in_child([] { return look_up(7) == "failed" ? 0 : 1; }), 0);
  const FakeServer::Request childs = server.receive();
  time.on_wait([&](int, timeval) { server.answer(childs); });
  EXPECT_EQ(look_up(somewhere), user_at(7));
  EXPECT_EQ(server.receive().id(), childs.id());
}

TEST_F(ForkingHost, AChildThatExitsTheLibraryLeavesTheEventLoopAlone) {
  EXPECT_TRUE(ends_after(TAVExit));
}

// The set of epoll is the same one in both.
TEST_F(ForkingHost, AChildThatExitsSingleSignOnTakesTheSocketOutOfTheEventLoop) {
  EXPECT_FALSE(ends_after(SSO_Exit));
}

TEST_F(ForkingHost, AChildsChangeOfACountedInitialisationIsItsOwn) {
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(in_child([] {
              TAVExit();
              TAVExit();
              return library_is_up() ? 1 : 0;
            }),
            0);
  TAVExit();
  EXPECT_TRUE(library_is_up());
}
