#include "registry/config_file.h"

#include <gtest/gtest.h>

TEST(ConfigFile, IsTheOneThatTheBuildChose) {
  EXPECT_STREQ(tavlib::kConfigFile, TAVLIB_CONFIG_FILE);
}
