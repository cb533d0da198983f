// A host that does anything at any time, from within callbacks, too: it starts and ends the library, asks,
// waits, polls, pops, gives up, closes enumerations in flight, and looks users up in every way, while the
// server answers as it likes. Each owner is told once, with a code that fits, and nothing is left behind.

#include <algorithm>
#include <array>
#include <memory>
#include <random>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

constexpr unsigned deepest = 3;
constexpr std::size_t remembered = 40;  // requests that may be answered late or once more

void expect_code(unsigned code) {
  EXPECT_THAT(code, testing::AnyOf(2u, 4u, 6u, 7u, 11u, 13u, 14u, 15u, 17u));
}

// The parameter is the seed.
class RandomHost : public SsoTest, public testing::WithParamInterface<unsigned> {
 protected:
  RandomHost() : random(GetParam()) {
    time.on_wait([this](int, timeval timeout) {
      if (timeout.tv_sec != 0) reply_to_some();
      errno = 0;  // an interruption from before would begin a wait in vain anew
    });
  }
  ~RandomHost() override { time.on_wait({}); }

  void act();
  void end();

 private:
  // A handle with what it may be used for.
  struct Handle {
    TAVASYNC async{};
    unsigned version = 0;
    _TAVENTRYA entry{};
    TAVQueryEnum* query = nullptr;
  };

  // A look-up of the layer's, or one that the host made itself.
  struct OwnLookup {
    RandomHost* host;
    std::array<char, 16> user{};
    std::array<char, 16> second{};
    int told = 0;
    SSO_TAVContext* context = nullptr;
  };

  unsigned draw(unsigned below) { return static_cast<unsigned>(random() % below); }
  bool one_in(unsigned chances) { return draw(chances) == 0; }

  void receive_all();
  void reply_to_some();
  void reply(const FakeServer::Request& request);

  void change_lives();
  void use(Handle& handle);
  void expect_outcome(const Handle& handle, int result);
  void pop();
  void look_up();
  void make_lookup();
  void delete_lookup();
  static void ended(int success, void* cookie);

  std::mt19937 random;
  unsigned depth = 0;
  unsigned layer_inits = 0;
  unsigned inits = 0;
  std::array<Handle, 6> handles;
  std::vector<std::unique_ptr<OwnLookup>> lookups;
  std::vector<SSO_TAVContext*> contexts;  // the host's own, oldest first
  std::vector<FakeServer::Request> requests;
};

void RandomHost::act() {
  Handle& handle = handles[draw(6)];
  switch (draw(12)) {
    case 0:
      return change_lives();
    case 1:
      return pop();
    case 2:
      return look_up();
    case 3:
      return make_lookup();
    case 4:
      return delete_lookup();
    case 5:
      if (!loop.set.empty()) loop.run();
      return;
    case 6:
      SSO_ExpireLookups(draw(3) * 1000);
      return;
    case 7:
      time.advance(std::chrono::milliseconds(draw(2000)));
      return;
    case 8: {
      const _TAVENTRYA added{};
      TAVAddEntryA(&added);
      return;
    }
    case 9:
      return reply_to_some();
    default:
      use(handle);
  }
}

// One call for each that succeeded. SSO_Exit undoes one of the layer's.
void RandomHost::change_lives() {
  switch (draw(8)) {
    case 0:
    case 1:
      if (SSO_Init() != nullptr) ++layer_inits;
      return;
    case 2:
      if (TAVInitialize() == 1) ++inits;
      return;
    case 3:
      if (layer_inits == 0) return;
      inits += std::exchange(layer_inits, 0) - 1;
      return SSO_Exit();
    default:
      if (inits == 0) return;
      --inits;
      TAVExit();
  }
}

void RandomHost::use(Handle& handle) {
  const bool empty = handle.async.Request == nullptr;
  switch (draw(8)) {
    case 0:
      if (empty) TAVQueryVersionAs(address(), &handle.version, &handle.async);
      return;
    case 1: {
      const _TAVENTRYA everything{};
      if (handle.query == nullptr) TAVQueryStartA(&everything, 0, 0, address(), 0, &handle.query);
      return;
    }
    case 2:
    case 3:
      if (empty) TAVQueryNextAsA(handle.query, &handle.entry, &handle.async);
      return;
    case 4:
      return TAVQueryClose(std::exchange(handle.query, nullptr));
    case 5:
      return expect_outcome(handle, TAVASyncStatus(&handle.async, static_cast<int>(draw(2))));
    case 6:
      TAVASyncAbandon(&handle.async);
      EXPECT_EQ(handle.async.Request, nullptr);
      return;
    default:
      TAVQueryNextA(handle.query, &handle.entry);
  }
}

void RandomHost::expect_outcome(const Handle& handle, int result) {
  if (result == 0) expect_code(TAVGetLastError());
  const bool pending = result == 0 && TAVGetLastError() == 14;
  EXPECT_EQ(handle.async.Request != nullptr, pending);
}

void RandomHost::pop() {
  TAVASYNC* done = nullptr;
  const int result = TAVASyncPop(&done, address());
  const unsigned error = TAVGetLastError();
  for (const Handle& handle : handles) {
    if (done == &handle.async) return expect_outcome(handle, result);
  }
  if (done == nullptr) return;
  auto* context = static_cast<SSO_TAVContext*>(done->Context);
  ASSERT_THAT(contexts, testing::Contains(context));
  if (context->Finish(result, error) == 1) delete context;
}

void RandomHost::look_up() {
  lookups.push_back(std::make_unique<OwnLookup>());
  OwnLookup& lookup = *lookups.back();
  lookup.host = this;
  if (one_in(2)) {
    SSO_GetUserByAddr(draw(100), lookup.user.data(), 16, lookup.second.data(), 16);
  } else {
    SSO_GetUserByAddrAsync(draw(100), lookup.user.data(), 16, lookup.second.data(), 16, ended, &lookup);
  }
}

// Now and then it is sent twice.
void RandomHost::make_lookup() {
  lookups.push_back(std::make_unique<OwnLookup>());
  OwnLookup& lookup = *lookups.back();
  lookup.host = this;
  try {
    lookup.context =
        new SSO_TAVContext(draw(100), lookup.user.data(), 16, lookup.second.data(), 16, ended, &lookup);
    contexts.push_back(lookup.context);
    lookup.context->Go();
    if (one_in(4)) lookup.context->Go();
  } catch (const tavexception& refused) {
    expect_code(refused.code);
  }
}

void RandomHost::delete_lookup() {
  if (contexts.empty()) return;
  SSO_TAVContext* context = contexts[draw(static_cast<unsigned>(contexts.size()))];
  std::erase(contexts, context);
  delete context;
}

// Whoever called it deletes the object afterwards.
void RandomHost::ended(int success, void* cookie) {
  auto& lookup = *static_cast<OwnLookup*>(cookie);
  RandomHost& host = *lookup.host;
  if (success == 0) expect_code(TAVGetLastError());
  EXPECT_EQ(++lookup.told, 1);
  std::erase(host.contexts, lookup.context);
  if (host.depth == deepest || !host.one_in(3)) return;
  ++host.depth;
  for (unsigned left = host.draw(3); left > 0; --left)
    host.act();
  --host.depth;
}

void RandomHost::receive_all() {
  while (!server.is_idle())
    requests.push_back(server.receive());
  if (requests.size() > remembered) requests.erase(requests.begin(), requests.end() - remembered);
}

void RandomHost::reply_to_some() {
  receive_all();
  if (requests.empty()) return;
  for (unsigned left = draw(4); left > 0; --left)
    reply(one_in(3) ? requests[draw(static_cast<unsigned>(requests.size()))] : requests.back());
}

void RandomHost::reply(const FakeServer::Request& request) {
  switch (draw(8)) {
    case 0:
      return server.reply_error(request);
    case 1:
      return server.reply_bad_digest(request);
    case 2:
      return server.reply_interim(request);
    case 3:
      return server.send_raw(request, Bytes(draw(200), 0xA1));
    default:
      if (request.code() == TAV_REQUEST_VERSION) return server.reply_version(request, 7);
      if (request.code() == TAV_REQUEST_ADDENTRY) return server.reply_status(request);
      one_in(4) ? server.reply_no_entry(request) : server.reply_entry(request, {.user = u"ALICE"});
  }
}

void RandomHost::end() {
  depth = deepest;
  while (!contexts.empty())
    delete_lookup();
  for (Handle& handle : handles) {
    TAVASyncAbandon(&handle.async);
    TAVQueryClose(std::exchange(handle.query, nullptr));
  }
  if (layer_inits != 0) {
    inits += layer_inits - 1;
    SSO_Exit();
  }
  for (; inits > 0; --inits)
    TAVExit();
  EXPECT_EQ(g_ServerList, nullptr);
  EXPECT_EQ(init_count(), 0u);
  const auto told =
      std::count_if(lookups.begin(), lookups.end(), [](const auto& each) { return each->told == 1; });
  EXPECT_GT(told, 10) << "an exit ends many, but not nearly all";
}

}  // namespace

TEST_P(RandomHost, IsToldOnceAndLeavesNothingBehind) {
  for (int step = 0; step < 600 && !HasFailure(); ++step)
    act();
  end();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomHost, testing::Range(1u, 9u), testing::PrintToStringParamName());
