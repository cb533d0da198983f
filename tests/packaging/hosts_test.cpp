// Small hosts, just as they are built for anybody: in C++ with and without exceptions, in C11, one without
// event loop functions that loads the library while it runs, and two whose event loop the library finds by
// the header's declarations alone. Each looks users up at a server process.
#include <gtest/gtest.h>

#include <bit>
#include <ostream>
#include <string>

#include "packaging/host_program.h"

namespace tavtest {
namespace {

struct Program {
  const char* name;
  const char* command;

  friend std::ostream& operator<<(std::ostream& out, const Program& each) { return out << each.name; }
};

class Host : public HostProgram, public testing::WithParamInterface<Program> {
 protected:
  Outcome look_up(const char* address) const {
    return run_redirected(std::string(GetParam().command) + " " + address);
  }
};

INSTANTIATE_TEST_SUITE_P(All, Host,
                         testing::Values(Program{"Cpp", "'" LOOKUP "'"},
                                         Program{"CppWithoutExceptions", "'" PLAIN_HOST "'"},
                                         Program{"C11", "'" LOOKUP_C "'"},
                                         Program{"Dlopen", "'" LOOKUP_DLOPEN "' '" TAVLIB_LIBRARY "'"},
                                         Program{"CppWithEventLoop", "'" EVENT_LOOP_HOST_CPP "'"},
                                         Program{"C11WithEventLoop", "'" EVENT_LOOP_HOST_C "'"}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(Host, FindsAUser) {
  configure();
  const Outcome outcome = look_up("10.1.0.11");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.output, "ANNA KVIST, ENGINEERING\n");
}

TEST_P(Host, FindsNobody) {
  configure();
  const Outcome outcome = look_up("10.1.0.99");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.output, "nobody\n");
}

TEST_P(Host, SaysThatThereIsNoConfiguration) {
  const Outcome outcome = look_up("10.1.0.11");
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.output.find("error 3"), std::string::npos) << outcome.output;
}

// They ask for the address that the README names.
class ReadmeHost : public HostProgram, public testing::WithParamInterface<Program> {};

INSTANTIATE_TEST_SUITE_P(All, ReadmeHost,
                         testing::Values(Program{"Cpp", "'" README_CPP "'"},
                                         Program{"C11", "'" README_C "'"}),
                         [](const auto& each) { return std::string(each.param.name); });

// What inet_addr makes of the address is another number on a big-endian host, and nobody is there.
TEST_P(ReadmeHost, FindsAUser) {
  configure();
  const Outcome outcome = run_redirected(GetParam().command);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.output,
            std::endian::native == std::endian::little ? "ANNA KVIST, ENGINEERING\n" : ", \n");
}

TEST_P(ReadmeHost, SaysWhyItHasNoLibrary) {
  const Outcome outcome = run_redirected(GetParam().command);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.output, "SSO_Init: error 3\n");
}

// The gateway's own server is none of those that are configured.
TEST_P(ReadmeHost, SaysWhyItsLookupFailed) {
  write_file(folder_.file("tavlib.conf"),
             "[tavlib\\Addresses]\ngwtav=\"127.0.0.9\"\n[tavlib\\Addresses\\127.0.0.1]\nEndpoint=9\n");
  const Outcome outcome = run_redirected(GetParam().command);
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.output, "SSO_GetUserByAddr: error 11\n");
}

class EndingHost : public HostProgram {};

// Nothing of the library is taken down under the threads. That some of them were not joined is what
// ThreadSanitizer need not tell.
TEST_F(EndingHost, MayHaveThreadsInTheLibrary) {
  configure();
  for (int i = 0; i < 10; ++i) {
    const Outcome outcome =
        run_redirected("TSAN_OPTIONS=\"$TSAN_OPTIONS:report_thread_leaks=0:atexit_sleep_ms=20\" '" ENDING_HOST
                       "' 10.1.0.11");
    ASSERT_EQ(outcome.code, 0) << outcome.output;
    ASSERT_EQ(outcome.output, "");
  }
}

TEST(LoadedHost, KnowsNeitherTheLibraryNorAnEventLoop) {
  EXPECT_EQ(run("readelf -d '" LOADED_HOST "' | grep -c libtavlib").output, "0\n");
  EXPECT_EQ(run("nm '" LOADED_HOST "' | grep -c T_event").output, "0\n");
}

}  // namespace
}  // namespace tavtest
