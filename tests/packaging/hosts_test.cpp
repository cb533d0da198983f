// Small hosts, just as they are built for anybody: in C++, in C11, and one without event loop functions that
// loads the library while it runs. Each looks users up at a server process.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <memory>
#include <ostream>
#include <string>

#include "conformance/tavsim.h"
#include "support/temp_folder.h"

namespace tavtest {
namespace {

struct Outcome {
  int code;
  std::string output;  ///< Both streams.
};

// Runs a shell command line.
Outcome run(const std::string& command) {
  FILE* const output = popen((command + " 2>&1").c_str(), "r");
  if (output == nullptr) return {-1, "popen failed"};
  Outcome outcome{};
  for (int c = fgetc(output); c != EOF; c = fgetc(output))
    outcome.output += static_cast<char>(c);
  const int status = pclose(output);
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

struct Program {
  const char* name;
  const char* command;

  friend std::ostream& operator<<(std::ostream& out, const Program& each) { return out << each.name; }
};

class Host : public testing::TestWithParam<Program> {
 protected:
  void configure() {
    const ConfiguredServer& server = sim_.configured();
    write_file(folder_.file("tavlib.conf"), "[tavlib\\Addresses\\]\ngwtav=\"" + server.address +
                                                "\"\n[tavlib\\Addresses\\" + server.address +
                                                "\\]\nEndpoint=" + std::to_string(server.port) +
                                                "\nPassphrase=\"" + server.passphrase + "\"\n");
  }

  // The library that is put in front is told to AddressSanitizer, which otherwise insists on being the first.
  Outcome look_up(const char* address) {
    return run("ASAN_OPTIONS=\"$ASAN_OPTIONS:verify_asan_link_order=0\" LD_PRELOAD='" REDIRECT_LIBRARY
               "' TAVTEST_FOLDER='" +
               folder_.path().string() + "' " + GetParam().command + " " + address);
  }

  TempFolder folder_;
  Tavsim sim_{TavsimOptions{"127.0.0.1", "secret", sample_entries}};
};

INSTANTIATE_TEST_SUITE_P(All, Host,
                         testing::Values(Program{"Cpp", "'" LOOKUP "'"}, Program{"C11", "'" LOOKUP_C "'"},
                                         Program{"Dlopen", "'" LOOKUP_DLOPEN "' '" TAVLIB_LIBRARY "'"}),
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

TEST(LoadedHost, KnowsNeitherTheLibraryNorAnEventLoop) {
  EXPECT_EQ(run("readelf -d '" LOOKUP_DLOPEN "' | grep -c libtavlib").output, "0\n");
  EXPECT_EQ(run("nm '" LOOKUP_DLOPEN "' | grep -c T_event").output, "0\n");
}

}  // namespace
}  // namespace tavtest
