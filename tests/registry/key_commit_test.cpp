// What a change makes of the file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct Rewriting {
  const char* name;
  std::string before;
  std::string after;  ///< With v="x" set in A\B.

  friend void PrintTo(const Rewriting& tested, std::ostream* out) { *out << tested.name; }
};

class Commit : public RegistryTest, public testing::WithParamInterface<Rewriting> {
 protected:
  int set_in(const char* key_name) {
    TestKey key(path);
    return key.LoadKey(key_name, 0, 2, nullptr) == 0 ? 0 : set_text(key, "v", "x");
  }
};

TEST_P(Commit, RewritesTheFile) {
  write(GetParam().before);
  ASSERT_EQ(set_in("A\\B"), 1);
  EXPECT_EQ(content(), GetParam().after);
  EXPECT_FALSE(temporary_exists());
}

INSTANTIATE_TEST_SUITE_P(
    Of, Commit,
    testing::Values(
        Rewriting{"SectionWithACommentAndAValue", "[A\\B]\n#gone\nw=1\n", "[A\\B\\]\nw=1\nv=\"x\"\n"},
        Rewriting{"CommentsElsewhere", "#top\n[C]\n#stays\n[A\\B]\n#gone\n[D\\]\n#stays too\n",
                  "#top\n[C\\]\n#stays\n[A\\B\\]\nv=\"x\"\n[D\\]\n#stays too\n"},
        Rewriting{"TwoSectionsOfTheKey", "[A\\B]\nv=1\nold=1\n[C]\nc=1\n[a\\b\\]\nw=2\n",
                  "[A\\B\\]\nw=2\nv=\"x\"\n[C\\]\nc=1\n[a\\b\\]\nw=2\nv=\"x\"\n"},
        Rewriting{"HeadersWithMoreBehindTheBracket", "[C] text\n[A\\B]]  \n[A\\B]#\n[D]E]\n",
                  "[C\\]\n[A\\B]\\]\n[A\\B\\]\nv=\"x\"\n[D]E\\]\n"},
        Rewriting{"RootValuesAndBlankLines", "r=1\n\n[C]\n\n c = 1\nno value\n[A\\B]\n",
                  "r=1\n\n[C\\]\n\n c = 1\nno value\n[A\\B\\]\nv=\"x\"\n"},
        Rewriting{"HeaderWithoutABracket", "[A\\B]\nw=1\n[C\nc=1\n[ D\n#d\n",
                  "[A\\B\\]\nw=1\nv=\"x\"\n[C\nc=1\n[ D\n#d\n"},
        Rewriting{"LastLineWithoutNewlineElsewhere", "[A\\B]\n[C]\nc=1", "[A\\B\\]\nv=\"x\"\n[C\\]\nc=1"},
        Rewriting{"LastLineWithoutNewlineOfTheKey", "[A\\B]\nw=1", "[A\\B\\]\nw=1\nv=\"x\"\n"},
        Rewriting{"LastHeaderWithoutNewline", "[C]\n[A\\B]", "[C\\]\n[A\\B\\]\nv=\"x\"\n"},
        Rewriting{"ZeroBytesElsewhere", zeroed("\0\n[C]\nc=\"\0\"\n\0[A\\B]\n[A\\B]\n[\0D]\n"),
                  zeroed("\0\n[C\\]\nc=\"\0\"\n\0[A\\B]\n[A\\B\\]\nv=\"x\"\n[\0D]\n")},
        Rewriting{"CarriageReturns", "[C]\r\nc=1\r\n[A\\B]\r\n", "[C\\]\nc=1\r\n[A\\B\\]\nv=\"x\"\n"},
        Rewriting{"LongLinesElsewhere", "[C]\nc=\"" + std::string(20000, 'c') + "\"\n[A\\B]\n",
                  "[C\\]\nc=\"" + std::string(20000, 'c') + "\"\n[A\\B\\]\nv=\"x\"\n"},
        Rewriting{"KeysBelowAndAbove", "[A]\na=1\n[A\\B]\n[A\\B\\C]\nc=1\n[A\\BB]\nb=1\n",
                  "[A\\]\na=1\n[A\\B\\]\nv=\"x\"\n[A\\B\\C\\]\nc=1\n[A\\BB\\]\nb=1\n"},
        Rewriting{"ValuesThatAreNotAccepted", "[C]\nbad=-1\n[A\\B]\nbad=-1\nw=1\n",
                  "[C\\]\nbad=-1\n[A\\B\\]\nw=1\nv=\"x\"\n"}),
    case_name<Rewriting>);

TEST_F(Commit, StartsFromTheFileAsItIsThen) {
  write("[A]\n[B]\nb=1\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  write("[B]\nb=2\n[A]\nlate=1\n");
  ASSERT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_EQ(content(), "[B\\]\nb=2\n[A\\]\nv=\"x\"\n");
}

TEST_F(Commit, WritesNoSectionThatIsNotThereAnyMore) {
  write("[A]\n[B]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  write("[B]\n");
  EXPECT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_EQ(content(), "[B\\]\n");
}

TEST_F(Commit, GoesOnAfterTheFileWasRemoved) {
  write("[A]\nw=1\n[B]\nb=1\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  std::filesystem::remove(path);
  EXPECT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_EQ(content(), "[A\\]\nw=1\nv=\"x\"\n[B\\]\nb=1\n");
}

TEST_F(Commit, WritesManyChangesOneAfterTheOther) {
  write("[A]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  std::string lines;
  for (int i = 0; i < 30; ++i) {
    const std::string name = "v" + std::to_string(i);
    ASSERT_EQ(set_text(key, name, "x"), 1);
    lines += name + "=\"x\"\n";
    ASSERT_EQ(content(), "[A\\]\n" + lines);
  }
}

TEST_F(Commit, RemovesOneSection) {
  write("[A]\n[B]\nb=1\n[C]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("", 0, 2, nullptr), 1);
  EXPECT_EQ(key.Commit("b\\"), 1);
  EXPECT_EQ(content(), "[A\\]\n[C\\]\n");
  EXPECT_EQ(key.Commit("c"), 1);  // Without its backslash it is no key's path.
  EXPECT_EQ(content(), "[A\\]\n[C\\]\n");
}

TEST_F(Commit, MakesAFileWithDefaultPermissions) {
  const mode_t before = umask(027);
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  const bool set = set_text(key, "v", "x") == 1;
  umask(before);
  ASSERT_TRUE(set);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(Commit, HasTheWholeFileReadyBeforeItTakesThePlace) {
  write("[A]\n");
  std::string synced_bytes;
  std::string old_bytes;
  std::string new_bytes;
  const CallHook sync(Call::sync, 1, [&] {
    synced_bytes = read_file(path + "~");
    return 0;
  });
  const CallHook rename(Call::rename, 1, [&] {
    // First: reading the file ends the locks that this process has on it.
    EXPECT_FALSE(others_can_lock(path, F_RDLCK));
    old_bytes = content();
    new_bytes = read_file(path + "~");
    return 0;
  });
  ASSERT_EQ(set_in("A"), 1);
  EXPECT_EQ(old_bytes, "[A]\n");
  EXPECT_EQ(synced_bytes, new_bytes);
  EXPECT_EQ(new_bytes, "[A\\]\nv=\"x\"\n");
  EXPECT_EQ(content(), new_bytes);
}

TEST_F(Commit, KeepsTheTemporaryFileFromOtherPrograms) {
  write("[A]\n");
  int found = 0;
  const CallHook sync(Call::sync, 1, [&] {
    struct stat temporary {};
    EXPECT_EQ(stat((path + "~").c_str(), &temporary), 0);
    for (int fd = 0; fd < 1024; ++fd) {
      struct stat opened {};
      if (fstat(fd, &opened) == -1 || opened.st_ino != temporary.st_ino) continue;
      ++found;
      EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    }
    return 0;
  });
  ASSERT_EQ(set_in("A"), 1);
  EXPECT_EQ(found, 1);
}

TEST_F(Commit, HoldsNoLockAfterwards) {
  write("[A]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  ASSERT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
}

TEST_F(Commit, HasTheNewFileOnTheKeysStream) {
  write("[A]\nv=1\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 1, nullptr), 1);
  ASSERT_EQ(key.DeleteValue("v"), 1);
  struct stat named {};
  struct stat opened {};
  ASSERT_EQ(stat(path.c_str(), &named), 0);
  ASSERT_EQ(fstat(fileno(key.file.get()), &opened), 0);
  EXPECT_EQ(opened.st_ino, named.st_ino);
  EXPECT_EQ(fcntl(fileno(key.file.get()), F_GETFL) & O_ACCMODE, O_RDWR);
  EXPECT_NE(fcntl(fileno(key.file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(Commit, ReplacesALinkByAFile) {
  write_file(folder.file("target"), "[A]\n");
  std::filesystem::create_symlink("target", path);
  ASSERT_EQ(set_in("A"), 1);
  EXPECT_FALSE(std::filesystem::is_symlink(path));
  EXPECT_EQ(content(), "[A\\]\nv=\"x\"\n");
  EXPECT_EQ(read_file(folder.file("target")), "[A]\n");
}

}  // namespace
}  // namespace tavtest
