// Look-ups that a host drives itself.

#include <arpa/inet.h>

#include <memory>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

// A look-up whose fields can be seen.
struct OpenContext : SSO_TAVContext {
  using SSO_TAVContext::SSO_TAVContext;

  using SSO_TAVContext::address;
  using SSO_TAVContext::answered;
  using SSO_TAVContext::callback;
  using SSO_TAVContext::cookie;
  using SSO_TAVContext::entry;
  using SSO_TAVContext::handle;
  using SSO_TAVContext::query;
  using SSO_TAVContext::second;
  using SSO_TAVContext::secondLength;
  using SSO_TAVContext::user;
  using SSO_TAVContext::userLength;
};

class SsoContext : public RunningSsoTest {
 protected:
  std::unique_ptr<OpenContext> make(char* user, char* second) {
    return std::make_unique<OpenContext>(somewhere, user, Lookup::size, second, Lookup::size, Lookup::ended,
                                         &told);
  }

  Lookup told;
  std::unique_ptr<OpenContext> context = make(told.user.data(), told.second.data());
  TAVASYNC* popped = nullptr;
};

class SsoContextWithoutLibrary : public SsoTest {};

unsigned code_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const tavexception& exception) {
    return exception.code;
  }
  return 0;
}

}  // namespace

TEST_F(SsoContext, BeginsWithNothingButItsArgumentsAndAnEnumeration) {
  EXPECT_NE(context->query, nullptr);
  EXPECT_EQ(context->answered, 0u);
  EXPECT_EQ(context->address, somewhere);
  EXPECT_EQ(context->user, told.user.data());
  EXPECT_EQ(context->second, told.second.data());
  EXPECT_EQ(context->userLength, Lookup::size);
  EXPECT_EQ(context->secondLength, Lookup::size);
  EXPECT_EQ(context->callback, Lookup::ended);
  EXPECT_EQ(context->cookie, &told);
  EXPECT_EQ(context->handle.Context, context.get());
  EXPECT_EQ(context->handle.Request, nullptr);
  EXPECT_EQ(context->entry.address, somewhere);
  EXPECT_EQ(context->entry.user, nullptr);
  EXPECT_EQ(context->entry.word12, 0u);
  EXPECT_TRUE(server.is_idle());
}

TEST_F(SsoContext, GoSendsTheLookup) {
  context->Go();
  const auto request = server.receive();
  EXPECT_EQ(undigested(request.packet), lookup_packet(request.id(), somewhere));
  EXPECT_NE(context->handle.Request, nullptr);
  EXPECT_TRUE(told.outcomes.empty());
}

TEST_F(SsoContext, IsHandedToTheHostThatPopsIt) {
  context->Go();
  server.reply_entry(server.receive(), user_at(somewhere));
  const int result = TAVASyncPop(&popped, address());
  EXPECT_EQ(result, 1);
  ASSERT_EQ(popped, &context->handle);
  EXPECT_EQ(context->Finish(result, TAVGetLastError()), 1);
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
  EXPECT_EQ(told.user_text(), "ALICE");
  EXPECT_EQ(context->answered, 1u);
}

TEST_F(SsoContext, IsFinishedAndDeletedByTheReadyCallback) {
  SSO_TAVContext* const raw = context.release();
  raw->Go();
  server.reply_entry(server.receive(), user_at(somewhere));
  loop.run_ready();
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
}

TEST_F(SsoContext, DeletedInFlightEndsWithoutItsCallback) {
  context->Go();
  const auto request = server.receive();
  context.reset();
  server.reply_entry(request, user_at(somewhere));
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  loop.run();
  EXPECT_TRUE(told.outcomes.empty());
  EXPECT_EQ(told.user, Lookup::filled());
}

TEST_F(SsoContext, DeletedAfterTheLibraryWasExitedIsHarmless) {
  context->Go();
  SSO_Exit();
  context.reset();
  EXPECT_TRUE(told.outcomes.empty());
}

TEST_F(SsoContext, FinishOfAPendingOneReturns0) {
  EXPECT_EQ(context->Finish(0, 14), 0);
  EXPECT_TRUE(told.outcomes.empty());
  EXPECT_EQ(context->answered, 0u);
}

TEST_F(SsoContext, FinishOfAFailureTellsItAndStaysUnanswered) {
  for (const unsigned code : {2u, 4u, 7u, 9u, 11u, 12u, 13u, 15u, 17u, 0u})
    EXPECT_EQ(context->Finish(0, code), 1) << code;
  EXPECT_EQ(told.outcomes, std::vector<int>(10, 0));
  EXPECT_EQ(told.user, Lookup::filled());
  EXPECT_EQ(context->answered, 0u);
}

TEST_F(SsoContext, FinishWithNoEntryIsAnAnswerWithEmptyTexts) {
  EXPECT_EQ(context->Finish(0, 6), 1);
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
  EXPECT_EQ(told.user_text(), "");
  EXPECT_EQ(told.second_text(), "");
  EXPECT_EQ(context->answered, 1u);
}

TEST_F(SsoContext, FinishOfAnAnswerIgnoresTheError) {
  char name[] = "carol";
  context->entry.user = name;
  EXPECT_EQ(context->Finish(1, 14), 1);
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
  EXPECT_EQ(told.user_text(), "carol");
  EXPECT_EQ(told.second_text(), "");
  EXPECT_EQ(context->answered, 1u);
}

TEST_F(SsoContext, FinishWithNobodyEmptiesTheTextsThatAreThere) {
  char name[] = "carol";
  context->entry.user = name;
  context->entry.word12 = 1;
  EXPECT_EQ(context->Finish(1, 0), 1);
  EXPECT_EQ(told.user_text(), "");
  const auto without_buffers = make(nullptr, nullptr);
  without_buffers->entry.word12 = 1;
  EXPECT_EQ(without_buffers->Finish(1, 0), 1);
  EXPECT_EQ(told.outcomes, (std::vector<int>{1, 1}));
}

TEST_F(SsoContext, ACopyHasEveryFieldButAnswered) {
  context->Go();
  server.receive();
  context->answered = 1;
  context->entry.word9 = 9;
  const OpenContext copy(*context);
  EXPECT_EQ(copy.answered, 0u);
  EXPECT_EQ(copy.query, context->query);
  EXPECT_EQ(copy.address, context->address);
  EXPECT_EQ(copy.user, context->user);
  EXPECT_EQ(copy.userLength, context->userLength);
  EXPECT_EQ(copy.second, context->second);
  EXPECT_EQ(copy.secondLength, context->secondLength);
  EXPECT_EQ(copy.callback, context->callback);
  EXPECT_EQ(copy.cookie, context->cookie);
  EXPECT_EQ(copy.entry.address, somewhere);
  EXPECT_EQ(copy.entry.word9, 9u);
  EXPECT_EQ(copy.handle.Context, context->handle.Context);
  EXPECT_EQ(copy.handle.Request, context->handle.Request);
}

TEST_F(SsoContext, ACopyOwnsNeitherEnumerationNorRequest) {
  context->Go();
  std::make_unique<OpenContext>(*context).reset();
  EXPECT_TRUE(told.outcomes.empty());
  server.reply_entry(server.receive(), user_at(somewhere));
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &context->handle);
  EXPECT_EQ(context->Finish(1, 0), 1);
  EXPECT_EQ(told.user_text(), "ALICE");
}

TEST_F(SsoContext, ACopyThatGoesOwnsItsRequest) {
  auto copy = std::make_unique<OpenContext>(*context);
  copy->Go();
  const auto request = server.receive();
  EXPECT_EQ(context->handle.Request, nullptr);
  copy.reset();
  server.reply_entry(request, user_at(somewhere));
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  context->Go();  // the enumeration is still open, and idle
  EXPECT_NE(context->handle.Request, nullptr);
}

// And the object that it was copied from is neither told of it nor deleted.
TEST_F(SsoContext, ACopyThatGoesIsFinishedAndDeletedByTheReadyCallback) {
  auto* copy = new OpenContext(*context);
  copy->Go();
  server.reply_entry(server.receive(), user_at(somewhere));
  loop.run();
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
  EXPECT_EQ(told.user_text(), "ALICE");
  EXPECT_EQ(context->answered, 0u);
  EXPECT_NE(context->query, nullptr);
}

TEST_F(SsoContext, ACopyThatCannotGoLeavesTheEnumerationOpen) {
  context->Go();
  const auto request = server.receive();
  OpenContext copy(*context);
  EXPECT_EQ(code_of([&copy] { copy.Go(); }), 15u);
  EXPECT_EQ(copy.query, nullptr);
  server.reply_entry(request, user_at(somewhere));
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &context->handle);
  EXPECT_EQ(context->Finish(1, 0), 1);
  EXPECT_EQ(told.user_text(), "ALICE");
}

TEST_F(SsoContext, ACopyThatCannotGoWithoutTheLibraryLeavesTheOthersRequestAlone) {
  context->Go();
  auto* const request = context->handle.Request;
  auto copy = std::make_unique<OpenContext>(*context);
  SSO_Exit();
  EXPECT_EQ(code_of([&copy] { copy->Go(); }), 7u);
  EXPECT_EQ(copy->handle.Request, nullptr);
  copy.reset();
  EXPECT_EQ(context->handle.Request, request);
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&context->handle, 0)));
}

TEST_F(SsoContext, GoTwiceIsBusyAndKeepsTheFirstRequest) {
  context->Go();
  const auto request = server.receive();
  const auto* const first = context->handle.Request;
  EXPECT_EQ(code_of([this] { context->Go(); }), 15u);
  EXPECT_EQ(TAVGetLastError(), 15u);
  EXPECT_EQ(context->query, nullptr);
  EXPECT_EQ(context->handle.Request, first);
  EXPECT_TRUE(server.is_idle());
  server.reply_entry(request, user_at(somewhere));
  EXPECT_TRUE(failed_with(17, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, &context->handle);
}

TEST_F(SsoContext, DeletedAfterGoTwiceLeavesNothingForALateAnswer) {
  context->Go();
  const auto request = server.receive();
  EXPECT_EQ(code_of([this] { context->Go(); }), 15u);
  context.reset();
  server.reply_entry(request, user_at(somewhere));
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
}

TEST_F(SsoContext, GoThatFailsClosesTheEnumerationAndThrowsItsCode) {
  g_SsoServer = inet_addr("127.9.9.9");
  context = make(told.user.data(), told.second.data());
  EXPECT_EQ(code_of([this] { context->Go(); }), 11u);
  EXPECT_EQ(TAVGetLastError(), 11u);
  EXPECT_EQ(context->query, nullptr);
  EXPECT_EQ(context->handle.Request, nullptr);
  EXPECT_TRUE(told.outcomes.empty());
}

TEST_F(SsoContext, GoAfterOneThatFailedThrows17) {
  g_SsoServer = inet_addr("127.9.9.9");
  context = make(told.user.data(), told.second.data());
  EXPECT_EQ(code_of([this] { context->Go(); }), 11u);
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(code_of([this] { context->Go(); }), 17u);
  EXPECT_EQ(TAVGetLastError(), 17u);
  EXPECT_EQ(context->handle.Request, nullptr);
}

TEST_F(SsoContext, GoAfterTheLibraryWasExitedThrows7) {
  SSO_Exit();
  EXPECT_EQ(code_of([this] { context->Go(); }), 7u);
}

TEST_F(SsoContextWithoutLibrary, ConstructionThrows7) {
  EXPECT_EQ(code_of([] { const OpenContext context(1, nullptr, 0, nullptr, 0, nullptr, nullptr); }), 7u);
}

TEST_F(SsoContextWithoutLibrary, AnExceptionCarriesItsCode) {
  EXPECT_EQ(tavexception(4294967295u).code, 4294967295u);
}
