// Requests, enumerations and look-ups for which there is no memory.

#include "api/attached_request.h"
#include "api/enumeration_fixture.h"
#include "api/refusals.h"

using namespace tavtest;

namespace {

using Request = tavlib::AttachedRequest;

class RefusedRequest : public EnumerationTest {
 protected:
  // The call lets bad_alloc out, leaves the handle empty and sends nothing.
  void expect_bad_alloc(const std::function<void()>& call) {
    const RefuseBlocks refuse(sizeof(Request));
    Request stale;
    async.Request = &stale;
    EXPECT_THROW(call(), std::bad_alloc);
    EXPECT_EQ(async.Request, nullptr);
    EXPECT_TRUE(server.is_idle());
  }

  unsigned version = 0;
};

class RefusedEnumeration : public InitialisedTest {};

// The look-up's callback: what it was told, and the last error then.
struct Told {
  std::vector<int> outcomes;
  unsigned last_error = 0;

  static void ended(int success, void* cookie) {
    auto& self = *static_cast<Told*>(cookie);
    self.outcomes.push_back(success);
    self.last_error = TAVGetLastError();
  }
};

class RefusedLookup : public ApiTest {
 protected:
  RefusedLookup() { EXPECT_NE(SSO_Init(), nullptr); }
  ~RefusedLookup() override { SSO_Exit(); }

  void expect_9_without(std::size_t size) {
    TAVSetLastError(untouched);  // makes the thread's record
    const long before = living_blocks();
    {
      const RefuseBlocks refuse(size);
      SSO_GetUserByAddrAsync(1, nullptr, 0, nullptr, 0, Told::ended, &told);
    }
    EXPECT_EQ(told.last_error, 9u);
    EXPECT_EQ(SSO_GetLastError(), 9u);
    ASSERT_EQ(told.outcomes, std::vector<int>{0});
    told.outcomes = std::vector<int>();
    EXPECT_EQ(living_blocks(), before);
    EXPECT_TRUE(server.is_idle());
  }

  Told told;
};

}  // namespace

TEST_F(RefusedRequest, LetsBadAllocOutOfEachFunctionThatAttachesOne) {
  expect_bad_alloc([this] { TAVQueryVersionAs(address(), &version, &async); });
  expect_bad_alloc([this] { TAVQueryNextAsW(query, &wide, &async); });
  expect_bad_alloc([this] { TAVQueryNextAsA(query, &narrow, &async); });
}

TEST_F(RefusedRequest, LetsBadAllocOutOfTheSynchronousForms) {
  const RefuseBlocks refuse(sizeof(Request));
  EXPECT_THROW(TAVQueryVersion(address(), &version), std::bad_alloc);
  EXPECT_THROW(TAVQueryNextW(query, &wide), std::bad_alloc);
  EXPECT_THROW(TAVQueryNextA(query, &narrow), std::bad_alloc);
}

TEST_F(RefusedRequest, LeavesTheEnumerationIdle) {
  expect_bad_alloc([this] { TAVQueryNextAsA(query, &narrow, &async); });
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  server.reply_entry(server.receive(), bob());
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_STREQ(narrow.user, "BOB");
}

TEST_F(RefusedEnumeration, CannotBeBegunAndFailsWith9) {
  const _TAVENTRYW wide{};
  const _TAVENTRYA narrow{};
  TAVQueryEnum* query = nullptr;
  const RefuseBlocks refuse(sizeof(TAVQueryEnum));
  EXPECT_TRUE(failed_with(9, TAVQueryStartW(&wide, 0, 0, address(), 0, &query)));
  EXPECT_TRUE(failed_with(9, TAVQueryStartA(&narrow, 0, 0, address(), 0, &query)));
  EXPECT_EQ(query, nullptr);
}

TEST_F(RefusedEnumeration, MakesABlockingLookupFailWith9) {
  ASSERT_NE(SSO_Init(), nullptr);
  const RefuseBlocks refuse(sizeof(TAVQueryEnum));
  EXPECT_TRUE(failed_with(9, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
}

TEST_F(RefusedLookup, WithoutMemoryForTheContextIsToldWith9) {
  expect_9_without(sizeof(SSO_TAVContext));
}

TEST_F(RefusedLookup, WithoutMemoryForTheEnumerationIsToldWith9) {
  expect_9_without(sizeof(TAVQueryEnum));
}

TEST_F(RefusedLookup, WithoutMemoryForTheRequestIsToldWith9) {
  expect_9_without(sizeof(Request));
}

TEST_F(RefusedLookup, LetsBadAllocOutOfABlockingOneAndClosesItsEnumeration) {
  const long before = living_blocks();
  {
    const RefuseBlocks refuse(sizeof(Request));
    EXPECT_THROW(SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0), std::bad_alloc);
  }
  EXPECT_EQ(living_blocks(), before);
  EXPECT_TRUE(server.is_idle());
}

TEST_F(RefusedLookup, WorksAgainAfterwards) {
  expect_9_without(sizeof(SSO_TAVContext));
  answer_next_wait([this](const auto& request) { server.reply_no_entry(request); });
  EXPECT_EQ(SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0), 1);
}
