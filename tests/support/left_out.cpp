// Skips the tests that the lists name. For programs that an emulator runs.

#include <fnmatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct LeftOut {
  std::string pattern;
  std::string reason;
};

std::vector<LeftOut> read_lists() {
  std::vector<LeftOut> all;
  for (const char* const path : {TAVTEST_LEFT_OUT}) {
    std::ifstream list(path);
    LeftOut one;
    while (list >> one.pattern && std::getline(list >> std::ws, one.reason))
      all.push_back(one);
  }
  return all;
}

class Skip : public testing::EmptyTestEventListener {
  // What is skipped before it starts is not run at all.
  void OnTestStart(const testing::TestInfo& test) override {
    const std::string name = std::string(test.test_suite_name()) + "." + test.name();
    const auto found = std::find_if(list_.begin(), list_.end(), [&](const LeftOut& one) {
      return fnmatch(one.pattern.c_str(), name.c_str(), 0) == 0;
    });
    if (found != list_.end()) GTEST_SKIP() << found->reason;
  }

  std::vector<LeftOut> list_ = read_lists();
};

// GoogleTest owns its listeners.
[[maybe_unused]] const bool listening =
    (testing::UnitTest::GetInstance()->listeners().Append(new Skip), true);

}  // namespace
