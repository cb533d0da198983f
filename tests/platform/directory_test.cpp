#include <dirent.h>
#include <gmock/gmock.h>

#include <cstring>
#include <type_traits>

#include "open_directory.h"
#include "support/temp_folder.h"
#include "wrapped_calls.h"

namespace tavtest {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

static_assert(std::has_virtual_destructor_v<ADirectory>);
static_assert(!std::is_copy_constructible_v<ADirectory> && !std::is_copy_assignable_v<ADirectory>);
static_assert(sizeof(OpenDirectory::path) == 1024);

class Directory : public testing::Test {
 protected:
  Directory() {
    for (const char* name : {"alpha.txt", "beta.txt", "gamma.log", ".hidden"})
      write_file(folder.file(name), "");
  }

  std::vector<std::string> listed(const char* pattern) const {
    ADirectory directory(folder.path().c_str(), pattern);
    return names(directory);
  }

  TempFolder folder;
  std::string path = folder.path().string();
};

TEST_F(Directory, StartsClosed) {
  OpenDirectory directory;
  EXPECT_EQ(directory.IsValid(), 0);
  EXPECT_EQ(directory.pattern, nullptr);
  EXPECT_EQ(directory.handle, nullptr);
  EXPECT_TRUE(names(directory).empty());
}

TEST_F(Directory, HasItsFieldsInOrder) {
  OpenDirectory directory;
  EXPECT_LT(static_cast<void*>(&directory.pattern), static_cast<void*>(&directory.handle));
  EXPECT_LT(static_cast<void*>(&directory.handle), static_cast<void*>(directory.path));
}

TEST_F(Directory, OpensInTheConstructorOrLater) {
  ADirectory first(path.c_str(), "*.log");
  ADirectory second;
  EXPECT_EQ(second.Open(path.c_str(), "*.log"), 1);
  for (ADirectory* directory : {&first, &second}) {
    EXPECT_EQ(directory->IsValid(), 1);
    EXPECT_THAT(names(*directory), ElementsAre("gamma.log"));
  }
}

TEST_F(Directory, GivesTheNamesThatMatchTheWildcard) {
  EXPECT_THAT(listed("*.txt"), UnorderedElementsAre("alpha.txt", "beta.txt"));
  EXPECT_THAT(listed("[ab]*"), UnorderedElementsAre("alpha.txt", "beta.txt"));
  EXPECT_THAT(listed("?eta.txt"), ElementsAre("beta.txt"));
  EXPECT_THAT(listed("beta.txt"), ElementsAre("beta.txt"));
  EXPECT_THAT(listed("BETA.txt"), ElementsAre());
  EXPECT_THAT(listed(""), ElementsAre());
}

TEST_F(Directory, StarGivesEverythingWithDotAndDotDot) {
  EXPECT_THAT(listed("*"), UnorderedElementsAre(".", "..", ".hidden", "alpha.txt", "beta.txt", "gamma.log"));
}

TEST_F(Directory, ALeadingDotMatchesLikeAnyCharacter) {
  EXPECT_THAT(listed("?hidden"), ElementsAre(".hidden"));
}

TEST_F(Directory, ABackslashQuotesTheNextCharacter) {
  write_file(folder.file("a*b"), "");
  write_file(folder.file("axb"), "");
  EXPECT_THAT(listed("a\\*b"), ElementsAre("a*b"));
}

TEST_F(Directory, KeepsTheOrderOfTheFileSystem) {
  std::vector<std::string> order;
  DIR* raw = opendir(path.c_str());
  ASSERT_NE(raw, nullptr);
  while (const dirent* entry = readdir(raw))
    order.emplace_back(entry->d_name);
  closedir(raw);
  EXPECT_EQ(listed("*"), order);
}

TEST_F(Directory, AtTheEndThereIsNothingMore) {
  ADirectory directory(path.c_str(), "*");
  names(directory);
  char name[256] = "untouched";
  EXPECT_EQ(directory.GetNext(name), 0);
  EXPECT_STREQ(name, "untouched");
  EXPECT_EQ(directory.IsValid(), 1);
}

TEST_F(Directory, CopiesNamesOfAnyLength) {
  const std::string longest(255, 'n');
  write_file(folder.file(longest), "");
  EXPECT_THAT(listed("n*"), ElementsAre(longest));
}

TEST_F(Directory, PathEndsInOneSlashWhetherGivenOrNot) {
  const OpenDirectory without(path.c_str(), "*");
  const OpenDirectory with((path + "/").c_str(), "*");
  EXPECT_EQ(without.path, path + "/");
  EXPECT_EQ(with.path, path + "/");
  EXPECT_STREQ(OpenDirectory("/", "*").path, "/");
}

TEST_F(Directory, OpensTheDirectoryAsItWasPassed) {
  const ADirectory directory(path.c_str(), "*");
  EXPECT_EQ(last_arguments().opendir, path);
}

TEST_F(Directory, FullPathIsThePathAndTheName) {
  ADirectory directory(path.c_str(), "*");
  char full[1280];
  directory.GetFull(full, "alpha.txt");
  EXPECT_EQ(full, path + "/alpha.txt");
  directory.GetFull(full, "");
  EXPECT_EQ(full, path + "/");
}

TEST_F(Directory, KeepsItsOwnCopiesOfTheArguments) {
  std::string directory_name = path;
  std::string pattern = "*.log";
  OpenDirectory directory(directory_name.c_str(), pattern.c_str());
  EXPECT_NE(directory.pattern, pattern.c_str());
  directory_name.assign(directory_name.size(), 'x');
  pattern.assign(pattern.size(), 'x');
  EXPECT_THAT(names(directory), ElementsAre("gamma.log"));
  EXPECT_EQ(directory.path, path + "/");
}

TEST_F(Directory, CloseEndsTheListing) {
  const long before = open_descriptors();
  OpenDirectory directory(path.c_str(), "*");
  EXPECT_EQ(open_descriptors(), before + 1);
  EXPECT_EQ(directory.Close(), 1);
  EXPECT_EQ(directory.IsValid(), 0);
  EXPECT_EQ(directory.handle, nullptr);
  EXPECT_EQ(directory.pattern, nullptr);
  EXPECT_TRUE(names(directory).empty());
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Directory, CloseOfAClosedListingDoesNothing) {
  ADirectory directory;
  EXPECT_EQ(directory.Close(), 1);
  directory.Open(path.c_str(), "*");
  EXPECT_EQ(directory.Close(), 1);
  EXPECT_EQ(directory.Close(), 1);
}

TEST_F(Directory, DestructorCloses) {
  const long before = open_descriptors();
  { const ADirectory directory(path.c_str(), "*"); }
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Directory, OpenOfAnOpenListingClosesTheFirst) {
  const TempFolder other;
  write_file(other.file("delta.txt"), "");
  const long before = open_descriptors();
  ADirectory directory(path.c_str(), "*.log");
  EXPECT_EQ(directory.Open(other.path().c_str(), "*.txt"), 1);
  EXPECT_EQ(open_descriptors(), before + 1);
  EXPECT_THAT(names(directory), ElementsAre("delta.txt"));
}

TEST_F(Directory, OpensAgainFromItsOwnPathAndPattern) {
  OpenDirectory directory(path.c_str(), "*.log");
  names(directory);
  EXPECT_EQ(directory.Open(directory.path, directory.pattern), 1);
  EXPECT_THAT(names(directory), ElementsAre("gamma.log"));
  EXPECT_EQ(directory.path, path + "/");
}

}  // namespace
}  // namespace tavtest
