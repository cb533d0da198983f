// Loaded before an unchanged host program (LD_PRELOAD): the folder that TAVTEST_FOLDER names takes the place
// of the folder of the library's configuration file and of everybody's home directory.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "support/redirect.h"

namespace tavtest {
namespace {

struct Redirects {
  explicit Redirects(const std::string& folder)
      : config(std::filesystem::path(TAVLIB_CONFIG_FILE).parent_path().string() + "/", folder + "/"),
        home_of_0(0, folder.c_str()),
        home(getuid(), folder.c_str()) {}

  PathRedirect config;
  HomeRedirect home_of_0;
  HomeRedirect home;
};

// They last until the process ends, so that the library finds them in its own last calls.
[[maybe_unused]] const Redirects* const redirects =
    std::getenv("TAVTEST_FOLDER") == nullptr ? nullptr : new Redirects(std::getenv("TAVTEST_FOLDER"));

}  // namespace
}  // namespace tavtest
