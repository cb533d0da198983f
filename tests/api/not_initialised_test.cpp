// Every function that needs the library fails with 7 before the first initialisation and after the last exit.

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

// What the functions are called with; none of it may be written.
struct Arguments {
  unsigned long server = 0;
  unsigned version = 11;
  unsigned long found = 12;
  _TAVENTRYA narrow{};
  _TAVENTRYW wide{};
  TAVASYNC* popped = nullptr;
  TAVASYNC async{nullptr, nullptr};
  TAVQueryEnum* query = nullptr;
  TAVQueryEnum* outlived = nullptr;  // made before the exit, where there was one
};

struct Call {
  const char* name;
  int (*make)(Arguments&);
};

void PrintTo(const Call& call, std::ostream* out) {
  *out << call.name;
}

const Call calls[] = {
    {"QueryVersion", [](Arguments& a) { return TAVQueryVersion(a.server, &a.version); }},
    {"QueryVersionAs", [](Arguments& a) { return TAVQueryVersionAs(a.server, &a.version, &a.async); }},
    {"EnumServers", [](Arguments& a) { return TAVEnumServers(0, &a.found); }},
    {"GetSocket", [](Arguments& a) { return TAVGetSocket(a.server); }},
    {"QueryStartW", [](Arguments& a) { return TAVQueryStartW(&a.wide, 0, 0, a.server, 0, &a.query); }},
    {"QueryStartA", [](Arguments& a) { return TAVQueryStartA(&a.narrow, 0, 0, a.server, 0, &a.query); }},
    {"AddEntryA", [](Arguments& a) { return TAVAddEntryA(&a.narrow); }},
    {"AddEntryW", [](Arguments& a) { return TAVAddEntryW(&a.wide); }},
    {"ASyncPop", [](Arguments& a) { return TAVASyncPop(&a.popped, a.server); }},
};

const Call steps[] = {
    {"QueryNextW", [](Arguments& a) { return TAVQueryNextW(a.outlived, &a.wide); }},
    {"QueryNextA", [](Arguments& a) { return TAVQueryNextA(a.outlived, &a.narrow); }},
    {"QueryNextAsW", [](Arguments& a) { return TAVQueryNextAsW(a.outlived, &a.wide, &a.async); }},
    {"QueryNextAsA", [](Arguments& a) { return TAVQueryNextAsA(a.outlived, &a.narrow, &a.async); }},
};

class NotInitialised : public ApiTest, public testing::WithParamInterface<Call> {
 protected:
  // Fails with 7, and neither sends nor writes anything.
  void expect_7() {
    TAVSetLastError(untouched);
    EXPECT_TRUE(failed_with(7, GetParam().make(arguments)));
    EXPECT_EQ(arguments.version, 11u);
    EXPECT_EQ(arguments.found, 12u);
    EXPECT_EQ(arguments.popped, nullptr);
    EXPECT_EQ(arguments.async.Request, nullptr);
    EXPECT_EQ(arguments.query, nullptr);
    EXPECT_EQ(arguments.narrow.address, 0u);
    EXPECT_EQ(arguments.wide.address, 0u);
    EXPECT_TRUE(server.is_idle());
    EXPECT_TRUE(time.waits().empty());
  }

  Arguments arguments{.server = address()};
};

class OutlivedEnumeration : public NotInitialised {
 protected:
  OutlivedEnumeration() {
    EXPECT_EQ(TAVInitialize(), 1);
    EXPECT_EQ(TAVQueryStartA(&arguments.narrow, 0, 0, address(), 0, &arguments.outlived), 1);
    TAVExit();
  }
  ~OutlivedEnumeration() override { TAVQueryClose(arguments.outlived); }
};

}  // namespace

TEST_P(NotInitialised, FailsWith7BeforeTheFirstInitialisation) {
  expect_7();
}

TEST_P(NotInitialised, FailsWith7AfterTheLastExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  expect_7();
}

TEST_P(OutlivedEnumeration, FailsWith7AfterTheLastExit) {
  expect_7();
}

INSTANTIATE_TEST_SUITE_P(Functions, NotInitialised, testing::ValuesIn(calls), ByName());
INSTANTIATE_TEST_SUITE_P(Steps, OutlivedEnumeration, testing::ValuesIn(steps), ByName());
