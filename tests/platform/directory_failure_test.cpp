#include <gmock/gmock.h>

#include <cerrno>
#include <memory>

#include "open_directory.h"
#include "support/temp_folder.h"
#include "wrapped_calls.h"

namespace tavtest {
namespace {

// Each test tries to open `directory`, which has a listing open already: a failure must leave it closed.
class DirectoryFailure : public testing::Test {
 protected:
  DirectoryFailure() : directory("/", "*") {}

  // Opens and expects failure with `code`.
  void expect_failure(const char* name, const char* pattern, int code) {
    ASSERT_EQ(directory.IsValid(), 1);
    errno = 0;
    EXPECT_EQ(directory.Open(name, pattern), 0);
    EXPECT_EQ(errno, code);
    EXPECT_EQ(directory.IsValid(), 0);
    EXPECT_EQ(directory.pattern, nullptr);
    EXPECT_EQ(open_descriptors(), descriptors_when_closed);
  }

  // `length` characters that name the top directory: "/././..." with or without a slash at the end.
  static std::string long_directory(std::size_t length) {
    std::string result;
    while (result.size() < length)
      result += result.size() % 2 == 0 ? '/' : '.';
    return result;
  }

  const long descriptors_when_closed = open_descriptors();
  OpenDirectory directory;
  TempFolder folder;
};

TEST_F(DirectoryFailure, MissingDirectory) {
  expect_failure(folder.file("none").c_str(), "*", 2);
}

TEST_F(DirectoryFailure, EmptyDirectoryName) {
  expect_failure("", "*", 2);
}

TEST_F(DirectoryFailure, NotADirectory) {
  write_file(folder.file("plain"), "");
  expect_failure(folder.file("plain").c_str(), "*", 20);
}

TEST_F(DirectoryFailure, NullArguments) {
  expect_failure(nullptr, "*", 14);
  ASSERT_EQ(directory.Open("/", "*"), 1);
  expect_failure("/", nullptr, 14);
}

TEST_F(DirectoryFailure, APatternOf1024CharactersIsTooLongAndNothingIsOpened) {
  const Watch opens(Call::opendir);
  expect_failure("/", std::string(1024, '*').c_str(), 78);
  EXPECT_EQ(opens.count(), 0);
}

TEST_F(DirectoryFailure, APatternOf1023CharactersIsNotTooLong) {
  EXPECT_EQ(directory.Open("/", std::string(1023, 'x').c_str()), 1);
  EXPECT_TRUE(names(directory).empty());
}

TEST_F(DirectoryFailure, ADirectoryThatDoesNotFitThePathIsTooLongAndNothingIsOpened) {
  const Watch opens(Call::opendir);
  int successes = 0;
  for (const std::string& name : {long_directory(1022) + ".", long_directory(1024), long_directory(5000)}) {
    SCOPED_TRACE(name.size());
    expect_failure(name.c_str(), "*", 78);
    EXPECT_EQ(opens.count(), successes);
    ASSERT_EQ(directory.Open("/", "*"), 1);
    ++successes;
  }
}

TEST_F(DirectoryFailure, ADirectoryThatJustFitsThePathIsOpened) {
  for (const std::size_t length : {1022U, 1023U}) {
    EXPECT_EQ(directory.Open(long_directory(length).c_str(), "*"), 1);
    EXPECT_EQ(directory.path, long_directory(1023));
  }
}

TEST_F(DirectoryFailure, NoMemoryForACopyOfAnArgument) {
  for (const int passing : {0, 1}) {
    SCOPED_TRACE(passing);
    Watch copies(Call::strdup);
    const Watch opens(Call::opendir);
    copies.fail(0, passing);
    expect_failure("/", "*", 12);
    EXPECT_EQ(opens.count(), 0);
    copies.fail(0, 2);
    ASSERT_EQ(directory.Open("/", "*"), 1);
  }
}

TEST_F(DirectoryFailure, WhateverOpendirReports) {
  for (const int code : {EACCES, EMFILE, ENOMEM}) {
    SCOPED_TRACE(code);
    {
      Watch opens(Call::opendir);
      opens.fail(code);
      expect_failure("/", "*", code);
    }
    ASSERT_EQ(directory.Open("/", "*"), 1);
  }
}

TEST_F(DirectoryFailure, OfTheConstructorLeavesAClosedListing) {
  const OpenDirectory missing(folder.file("none").c_str(), "*");
  EXPECT_EQ(missing.handle, nullptr);
  EXPECT_EQ(missing.pattern, nullptr);
}

TEST(WideTextException, CarriesItsCode) {
  EXPECT_EQ(WtoAException(78).code, 78U);
}

}  // namespace
}  // namespace tavtest
