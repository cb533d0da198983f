// What a host keeps from one life of the library and uses in the next: handles, enumerations, look-ups,
// registry handles. What the first exit alone does to them is tested with the exported functions themselves.

#include <array>
#include <memory>

#include "conformance/event_loop.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

// A step of an enumeration, sent in a life of the library that has ended; the next one is up.
class StaleHandle : public HostTest {
 protected:
  StaleHandle() {
    start(query, async);
    request = server.receive();
    next_life();
  }
  ~StaleHandle() override { TAVQueryClose(query); }

  void start(TAVQueryEnum*& enumeration, TAVASYNC& handle) {
    if (!library_is_up()) TAVInitialize();
    EXPECT_EQ(TAVQueryStartA(&everything, 0, 0, address(), 0, &enumeration), 1);
    EXPECT_EQ(error_of(TAVQueryNextAsA(enumeration, &entry, &handle)), 14U);
  }

  static void next_life() {
    TAVExit();
    EXPECT_EQ(TAVInitialize(), 1);
  }

  const _TAVENTRYA everything{};
  _TAVENTRYA entry{};
  TAVQueryEnum* query = nullptr;
  TAVASYNC async{};
  FakeServer::Request request;
};

}  // namespace

TEST_F(StaleHandle, IsToldWith7AndMayThenServeAgain) {
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 1)), 7U);
  unsigned version = 0;
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &async)), 14U);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(version, 0x00010002U);
}

TEST_F(StaleHandle, IsNotHandedOutForAnAnswerThatComesInTheNextLife) {
  server.answer(request);  // to the old socket's port
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&popped, address())), 14U);
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(entry.address, 0U);
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
}

// The ids go on from life to life, so an old reply fits no request of the new one.
TEST_F(StaleHandle, ItsReplyDoesNotAnswerARequestOfTheNextLife) {
  unsigned version = 0;
  TAVASYNC fresh{};
  ASSERT_EQ(error_of(TAVQueryVersionAs(address(), &version, &fresh)), 14U);
  FakeServer::Request old_reply_to_new_port = request;
  const FakeServer::Request asked = server.receive();
  old_reply_to_new_port.sender = asked.sender;
  server.answer(old_reply_to_new_port);
  EXPECT_EQ(error_of(TAVASyncStatus(&fresh, 0)), 14U);
  server.answer(asked);
  EXPECT_EQ(TAVASyncStatus(&fresh, 0), 1);
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
}

TEST_F(StaleHandle, StaysStaleAfterManyLives) {
  for (int i = 0; i < 20; ++i)
    next_life();
  EXPECT_EQ(TAVASyncSocket(&async), -1);
  EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 7U);
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 1)), 7U);
}

TEST_F(StaleHandle, EachOfSeveralIsToldOnce) {
  std::array<TAVASYNC, 4> handles{};
  std::array<TAVQueryEnum*, 4> queries{};
  for (std::size_t i = 0; i < handles.size(); ++i) {
    start(queries[i], handles[i]);
    next_life();
  }
  for (std::size_t i = 0; i < handles.size(); ++i) {
    if (i % 2 == 0) TAVQueryClose(queries[i]);
    EXPECT_EQ(error_of(TAVASyncStatus(&handles[i], 0)), 7U);
    if (i % 2 != 0) TAVQueryClose(queries[i]);
  }
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
}

TEST_F(StaleHandle, AnEnumerationIsRefusedAsOftenAsItIsAskedAndTakesNoHandle) {
  EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 7U);
    EXPECT_EQ(error_of(TAVQueryNextAsA(query, &entry, &async)), 7U);
    EXPECT_EQ(async.Request, nullptr);
  }
  EXPECT_TRUE(server.is_idle());
}

namespace {

// Look-ups that a host makes itself.
class StaleLookup : public HostTest {
 protected:
  StaleLookup() { EXPECT_NE(SSO_Init(), nullptr); }

  std::unique_ptr<SSO_TAVContext> make() {
    return std::make_unique<SSO_TAVContext>(somewhere, user.data(), 31, nullptr, 0, ended, this);
  }

  static void ended(int success, void* cookie) { static_cast<StaleLookup*>(cookie)->told.push_back(success); }

  static void next_life() {
    SSO_Exit();
    EXPECT_NE(SSO_Init(), nullptr);
  }

  // The code that Go throws; 0 when it does not.
  static unsigned thrown_by_go(SSO_TAVContext& lookup) {
    try {
      lookup.Go();
      return 0;
    } catch (const tavexception& exception) {
      return exception.code;
    }
  }

  EventLoop loop;
  std::array<char, 32> user{};
  std::vector<int> told;
};

}  // namespace

TEST_F(StaleLookup, CannotGoInTheNextLife) {
  const auto lookup = make();
  next_life();
  EXPECT_EQ(thrown_by_go(*lookup), 7U);
  EXPECT_TRUE(server.is_idle());
  EXPECT_TRUE(told.empty());
}

TEST_F(StaleLookup, InFlightIsGivenUpByItsEndInTheNextLife) {
  auto lookup = make();
  lookup->Go();
  const auto request = server.receive();
  next_life();
  server.answer(request);
  loop.run_once();
  lookup.reset();
  EXPECT_TRUE(told.empty());
  EXPECT_STREQ(user.data(), "");
}

TEST_F(StaleLookup, ThatWasFinishedIsDeletedInTheNextLife) {
  auto lookup = make();
  lookup->Go();
  server.answer_all();
  TAVASYNC* popped = nullptr;
  ASSERT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(lookup->Finish(1, 0), 1);
  EXPECT_EQ(user.data(), user_at(somewhere));
  next_life();
  lookup.reset();
  EXPECT_EQ(told, std::vector<int>{1});
}

TEST_F(StaleLookup, AnOldRunOfTheEventLoopFindsTheNextLife) {
  SSO_Exit();
  loop.run_once();
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_GetUserByAddrAsync(somewhere, user.data(), 31, nullptr, 0, ended, this);
  server.answer_all();
  ASSERT_TRUE(loop.run_until([this] { return !told.empty(); }));
  EXPECT_EQ(user.data(), user_at(somewhere));
}

namespace {

class KeptRegistry : public HostTest {
 protected:
  ~KeptRegistry() override { ARegKeyFileClose(root); }

  std::string text_of(ARegistry& handle, const char* name) {
    std::array<unsigned char, 64> text{};
    unsigned size = text.size();
    return handle.QueryValue(name, nullptr, &size, text.data()) == 1 ? reinterpret_cast<char*>(text.data())
                                                                     : "missing";
  }

  ARegistryKey* root = ARegKeyFile(config.path().c_str());
};

}  // namespace

// The store is no part of what TAVInitialize and TAVExit count.
TEST_F(KeptRegistry, AHandleWorksThroughSeveralLives) {
  ARegistry handle;
  ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, REGISTRY_ACCESS_WRITE), 1);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(TAVInitialize(), 1);
    EXPECT_EQ(text_of(handle, "gwtav"), "127.0.0.1");
    TAVExit();
    EXPECT_EQ(text_of(handle, "gwtav"), "127.0.0.1");
  }
  EXPECT_EQ(handle.DeleteValue("gwtav"), 1);
  EXPECT_EQ(SSO_Init(), nullptr) << "it reads what was changed";
}

TEST_F(KeptRegistry, AHandleOutlivesTheKeyThatItWasOpenedBelow) {
  ARegistry handle;
  ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, 1), 1);
  ARegKeyFileClose(std::exchange(root, nullptr));
  EXPECT_EQ(text_of(handle, "gwtav"), "127.0.0.1");
  ARegistry below;
  EXPECT_EQ(below.Open(handle.GetKey(), "127.0.0.1", 0, nullptr, 1), 1);
  handle.Close();
  EXPECT_EQ(text_of(below, "Passphrase"), server.passphrase());
}

TEST_F(KeptRegistry, AHandleMayBeClosedTwiceAndOpenedAgain) {
  ARegistry handle;
  ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, 1), 1);
  EXPECT_EQ(handle.Close(), 1);
  EXPECT_EQ(handle.Close(), 1);
  EXPECT_EQ(text_of(handle, "gwtav"), "missing");
  ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, 1), 1);
  EXPECT_EQ(text_of(handle, "gwtav"), "127.0.0.1");
}
