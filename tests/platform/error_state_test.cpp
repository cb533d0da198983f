#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>

#include <cerrno>
#include <string>
#include <thread>

#include "wrapped_calls.h"

namespace tavtest {
namespace {

// The same operations four times over: as free functions and as static members, for both kinds of error.
struct Operations {
  const char* name;
  unsigned (*get)();
  void (*set)(unsigned);
  unsigned (*text)(unsigned, char*, unsigned);
};

class ErrorState : public testing::TestWithParam<Operations> {};

INSTANTIATE_TEST_SUITE_P(Forms, ErrorState,
                         testing::Values(Operations{"OsFunctions", GetOsError, SetOsError, GetOsErrorString},
                                         Operations{"RtlFunctions", GetRtlError, SetRtlError,
                                                    GetRtlErrorString},
                                         Operations{"OsMembers", AErrors::GetOsError, AErrors::SetOsError,
                                                    AErrors::GetOsErrorString},
                                         Operations{"RtlMembers", AErrors::GetRtlError, AErrors::SetRtlError,
                                                    AErrors::GetRtlErrorString}),
                         [](const auto& form) { return form.param.name; });

const std::string enoent_text = "No such file or directory";  // 25 characters

TEST_P(ErrorState, GetReadsErrno) {
  errno = 78;
  EXPECT_EQ(GetParam().get(), 78U);
}

TEST_P(ErrorState, SetWritesErrno) {
  errno = 0;
  GetParam().set(12);
  EXPECT_EQ(errno, 12);
}

TEST_P(ErrorState, BelongsToTheCallingThread) {
  GetParam().set(16);
  unsigned elsewhere = 99;
  std::thread([&] {
    GetParam().set(22);
    elsewhere = GetParam().get();
  }).join();
  EXPECT_EQ(elsewhere, 22U);
  EXPECT_EQ(GetParam().get(), 16U);
}

TEST_P(ErrorState, TextGoesIntoTheBufferAndTheRestIsZeroed) {
  std::string buffer(30, '?');
  EXPECT_EQ(GetParam().text(2, buffer.data(), 30), 25U);
  EXPECT_EQ(buffer, enoent_text + std::string(5, '\0'));
}

TEST_P(ErrorState, TextWithoutABufferIsOnlyMeasured) {
  EXPECT_EQ(GetParam().text(2, nullptr, 30), 25U);
}

TEST_P(ErrorState, TextLongerThanTheBufferIsCutWithoutATerminatorAndTheFullLengthReturned) {
  std::string buffer(12, '?');
  EXPECT_EQ(GetParam().text(2, buffer.data(), 10), 25U);
  EXPECT_EQ(buffer, "No such fi??");
}

TEST_P(ErrorState, TextThatFillsTheBufferHasNoTerminator) {
  std::string buffer(26, '?');
  EXPECT_EQ(GetParam().text(2, buffer.data(), 25), 25U);
  EXPECT_EQ(buffer, enoent_text + "?");
}

TEST_P(ErrorState, ABufferOfNoBytesIsLeftAlone) {
  std::string buffer(2, '?');
  EXPECT_EQ(GetParam().text(2, buffer.data(), 0), 25U);
  EXPECT_EQ(buffer, "??");
}

TEST_P(ErrorState, ACodeWithoutATextIsAnUnknownError) {
  Watch strerror_calls(Call::strerror);
  strerror_calls.fail(0);
  std::string buffer(14, '?');
  EXPECT_EQ(GetParam().text(5, buffer.data(), 14), 13U);
  EXPECT_EQ(buffer, std::string("unknown error") + '\0');
}

TEST(ErrorStates, AreOneStateForBothKinds) {
  SetRtlError(5);
  EXPECT_EQ(GetOsError(), 5U);
  SetOsError(6);
  EXPECT_EQ(GetRtlError(), 6U);
}

TEST(ErrorStates, ShareOneNumbering) {
  for (const unsigned code : {0U, 2U, 79U, 0xffffffffU}) {
    EXPECT_EQ(OsToRtlError(code), code);
    EXPECT_EQ(AErrors::OsToRtlError(code), code);
  }
}

}  // namespace
}  // namespace tavtest
