#include <gtest/gtest.h>
#include <tavlib/platform/directory.h>

#include <string>

#include "faults/heap/reason_of.h"
#include "support/temp_folder.h"

namespace tavtest {
namespace {

class DirectoryErrors : public testing::Test {
 protected:
  unsigned reason_of_opening(const char* name, const char* pattern) {
    return reason_of([&] { return directory.Open(name, pattern); });
  }

  TempFolder folder;
  ADirectory directory;
};

TEST_F(DirectoryErrors, OfAMissingFolder) {
  EXPECT_EQ(reason_of_opening(folder.file("none").c_str(), "*"), 2U);
}

TEST_F(DirectoryErrors, OfAFile) {
  write_file(folder.file("plain"), "");
  EXPECT_EQ(reason_of_opening(folder.file("plain").c_str(), "*"), 20U);
}

TEST_F(DirectoryErrors, OfTextsThatAreTooLong) {
  EXPECT_EQ(reason_of_opening("/", std::string(1024, '*').c_str()), 78U);
  EXPECT_EQ(reason_of_opening(std::string(1024, '/').c_str(), "*"), 78U);
}

TEST_F(DirectoryErrors, OfNullArguments) {
  EXPECT_EQ(reason_of_opening(nullptr, "*"), 14U);
  EXPECT_EQ(reason_of_opening("/", nullptr), 14U);
}

TEST_F(DirectoryErrors, OfASecondOpening) {
  ASSERT_EQ(directory.Open("/", "*"), 1);
  EXPECT_EQ(reason_of_opening(folder.file("none").c_str(), "*"), 2U);
}

TEST_F(DirectoryErrors, OfTheConstructor) {
  const std::string missing = folder.file("none");
  EXPECT_EQ(reason_of([&] { return ADirectory(missing.c_str(), "*").IsValid(); }), 2U);
}

}  // namespace
}  // namespace tavtest
