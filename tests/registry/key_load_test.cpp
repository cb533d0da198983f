// Opening and reading one key of a file.

#include <fcntl.h>
#include <gtest/gtest.h>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class LoadKey : public RegistryTest {
 protected:
  TestKey& loaded(const char* sub_path, unsigned access = 0) {
    key_.emplace(path);
    EXPECT_EQ(key_->LoadKey(sub_path, 0, access, nullptr), 1) << AErrors::GetRtlError();
    return *key_;
  }

  std::optional<TestKey> key_;
};

const std::optional<Value> one = Value{REG_SZ, zeroed("1\0")};
const std::optional<Value> two = Value{REG_SZ, zeroed("2\0")};

TEST_F(LoadKey, ReadsTheValuesOfOneSection) {
  write("[A]\nv=\"0\"\n[B]\nv=\"1\"\nw=\"2\"\n[C]\nv=\"3\"\n");
  TestKey& key = loaded("B");
  EXPECT_EQ(value_names(key), (Names{"v", "w"}));
  EXPECT_EQ(find_value(key, "v"), one);
  EXPECT_EQ(find_value(key, "w"), two);
  EXPECT_STREQ(key.keyName.get(), "B\\");
}

TEST_F(LoadKey, TakesHeadersWithAndWithoutATrailingBackslashAsTheSame) {
  for (const char* header : {"[A\\B]\n", "[A\\B\\]\n", "[a\\b] rest\n", "[A\\B]]\n[A\\B]\n"}) {
    write(std::string(header) + "v=\"1\"\n");
    for (const char* name : {"A\\B", "a\\b", "A\\B\\", "A\\B\\\\\\"}) {
      EXPECT_EQ(find_value(loaded(name), "v"), one) << header << name;
    }
  }
}

TEST_F(LoadKey, TakesThePathUpToTheLastBracket) {
  write("[A]B] text\nv=\"1\"\n");
  EXPECT_EQ(find_value(loaded("A]B"), "v"), one);
}

TEST_F(LoadKey, TrimsNothing) {
  write(" [A]\n[A]\n #v=\"1\"\n v =\"2\"\nw= \"1\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{" #v", " v "}));
}

TEST_F(LoadKey, SkipsCommentsAndLinesWithoutAnEqualsSignAndBadValues) {
  write("[A]\n#c=\"1\"\nnothing\n\nn=-1\nx=abc\nv=\"1\"\n=\"2\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"v", ""}));
  EXPECT_EQ(find_value(key, ""), two);
}

TEST_F(LoadKey, SplitsAtTheFirstEqualsSign) {
  write("[A]\na=b=\"1\"\nc=\"=\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"c"}));  // b="1" is no value text.
  EXPECT_EQ(find_value(key, "c"), (Value{REG_SZ, zeroed("=\0")}));
}

TEST_F(LoadKey, ReadsALastLineWithoutNewline) {
  write("[A]\nv=\"1\"\nw=\"2");
  TestKey& key = loaded("A");
  EXPECT_EQ(find_value(key, "w"), two);
  write("[A]");
  EXPECT_EQ(value_names(loaded("A")), Names{});
}

TEST_F(LoadKey, TakesTheLaterOfTwoValuesOfOneName) {
  write("[A]\nv=\"1\"\nw=\"1\"\nV=\"2\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"V", "w"}));
  EXPECT_EQ(find_value(key, "v"), two);
}

TEST_F(LoadKey, TakesTheLastOfTwoSections) {
  write("[A]\nv=\"1\"\nx=\"1\"\n[B]\n[a\\]\nv=\"2\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"v"}));
  EXPECT_EQ(find_value(key, "v"), two);
}

TEST_F(LoadKey, ListsTheSectionsBelowInFileOrderAndSpelling) {
  write("[A\\B]\n[Other]\n[a\\b\\C]\n[AB]\n[A]\n[A\\D\\]\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(key.sections_below(), (Names{"B\\", "b\\C\\", "D\\"}));
}

TEST_F(LoadKey, PutsEveryHeaderBelowTheRootAndReadsTheLinesAtTheTop) {
  write("v=\"1\"\n#comment\nw=\"2\"\n[A]\nx=\"3\"\n[B\\C]\n");
  for (const char* root : {"", "\\", "\\\\\\"}) {
    TestKey& key = loaded(root);
    EXPECT_EQ(key.sections_below(), (Names{"A\\", "B\\C\\"}));
    EXPECT_EQ(value_names(key), (Names{"v", "w"}));
    EXPECT_STREQ(key.keyName.get(), "");
  }
}

TEST_F(LoadKey, OpensTheRootOfAnEmptyFile) {
  write("");
  TestKey& key = loaded("");
  EXPECT_EQ(value_names(key), Names{});
  EXPECT_EQ(child_names(key), Names{});
}

TEST_F(LoadKey, TakesAnEmptyHeaderAsABackslash) {
  write("[]\n[A]\n");
  EXPECT_EQ(loaded("").sections_below(), (Names{"\\", "A\\"}));
}

TEST_F(LoadKey, ResolvesBelowTheKeysOwnPath) {
  write("[A\\B]\nv=\"1\"\n[B]\nv=\"2\"\n");
  TestKey base(loaded("A"));
  ASSERT_EQ(base.LoadKey("B", 0, 0, nullptr), 1);
  EXPECT_STREQ(base.keyName.get(), "A\\B\\");
  EXPECT_EQ(find_value(base, "v"), one);
}

TEST_F(LoadKey, OpensTheRootOfTheFileFromAnyKey) {
  write("v=\"1\"\n[A]\nv=\"2\"\n");
  TestKey base(loaded("A"));
  ASSERT_EQ(base.LoadKey("", 0, 0, nullptr), 1);
  EXPECT_STREQ(base.keyName.get(), "");
  EXPECT_EQ(find_value(base, "v"), one);
}

TEST_F(LoadKey, HasNoSuchEntryForAMissingKey) {
  write("[AB]\n[B\\A]\n");
  TestKey key(path);
  for (const unsigned access : {0U, 1U, 2U, 3U}) {
    EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("A", 0, access, nullptr); }));
  }
  EXPECT_EQ(content(), "[AB]\n[B\\A]\n");
}

TEST_F(LoadKey, HasAnEmptyPathRefused) {
  TestKey key(path);
  EXPECT_TRUE(fails_with(14, [&] { return key.LoadKey(nullptr, 1, 3, nullptr); }));
}

TEST_F(LoadKey, OpensWhatExistsOnlyThroughAKeyBelow) {
  write("[a\\b]\nv=\"1\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), Names{});
  EXPECT_EQ(key.sections_below(), (Names{"b\\"}));
  EXPECT_EQ(content(), "[a\\b]\nv=\"1\"\n");
}

TEST_F(LoadKey, FailsWithTheErrorOfTheOpen) {
  TestKey key(folder.path().string() + "/none/registry");
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("", 0, 3, nullptr); }));
  TestKey directory(folder.path().string());
  EXPECT_TRUE(fails_with(21, [&] { return directory.LoadKey("", 0, 3, nullptr); }));
}

TEST_F(LoadKey, FailsWithTheErrorOfARead) {
  TestKey directory(folder.path().string());
  EXPECT_TRUE(fails_with(21, [&] { return directory.LoadKey("", 0, 1, nullptr); }));
  write("[A]\nv=1\n");
  for (const int nth : {1, 2, 3, 4}) {
    TestKey key(path);
    const CallFails fails(Call::read, nth, EIO);
    EXPECT_TRUE(fails_with(5, [&] { return key.LoadKey("A", 0, 1, nullptr); })) << nth;
    EXPECT_TRUE(fails_with(2, [&] { return key.FindValue("v", nullptr, nullptr, nullptr); }));
  }
}

TEST_F(LoadKey, ForgetsItsOwnPathForTheRootAlsoWhenThatCannotBeRead) {
  write("[A\\B]\nv=\"1\"\n[B]\nv=\"2\"\n");
  TestKey key(loaded("A"));
  {
    const CallFails fails(Call::read, 1, EIO);
    EXPECT_TRUE(fails_with(5, [&] { return key.LoadKey("", 0, 0, nullptr); }));
  }
  ASSERT_EQ(key.LoadKey("B", 0, 0, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), two);
}

TEST_F(LoadKey, FailsWithTheErrorOfTheLock) {
  write("[A\\B]\n");
  {
    const CallFails fails(Call::lock, 1, ENOLCK);
    TestKey key(path);
    EXPECT_TRUE(fails_with(37, [&] { return key.LoadKey("A", 0, 1, nullptr); }));
  }
  const CallFails fails(Call::lock, 2, EDEADLK);
  TestKey key(path);
  EXPECT_TRUE(fails_with(35, [&] { return key.LoadKey("A", 0, 3, nullptr); }));
  EXPECT_EQ(content(), "[A\\B]\n");
}

TEST_F(LoadKey, HoldsNoLockAfterwardsAndKeepsTheStream) {
  write("[A]\n");
  for (const char* name : {"A", "None"}) {
    TestKey key(path);
    key.LoadKey(name, 0, 3, nullptr);
    EXPECT_NE(key.file, nullptr);
    EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  }
}

TEST_F(LoadKey, LetsOthersReadAndNotWriteWhileItReads) {
  write("[A]\nv=1\n");
  for (const unsigned access : {0U, 2U}) {
    TestKey key(path);
    int reads = 0;
    const CallHook hook(Call::read, 0, [&] {
      ++reads;
      EXPECT_TRUE(others_can_lock(path, F_RDLCK));
      EXPECT_FALSE(others_can_lock(path, F_WRLCK));
      return 0;
    });
    EXPECT_EQ(key.LoadKey("A", 0, access, nullptr), 1);
    EXPECT_GT(reads, 0);
  }
}

TEST_F(LoadKey, KeepsTheStreamThatIsOpenWhenItLoadsAgain) {
  write("[A]\n");
  TestKey& key = loaded("", 1);
  const std::FILE* stream = key.file.get();
  ASSERT_EQ(key.LoadKey("A", 0, 3, nullptr), 1);
  EXPECT_EQ(key.file.get(), stream);
  EXPECT_EQ(fcntl(fileno(key.file.get()), F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_EQ(key.access, 3U);
  EXPECT_EQ(set_text(key, "v", "1"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"1\"\n");
}

TEST_F(LoadKey, KeepsItsStreamFromOtherPrograms) {
  write("[A]\n");
  TestKey reader(loaded("A"));
  ASSERT_EQ(reader.LoadKey("", 0, 1, nullptr), 1);
  EXPECT_EQ(fcntl(fileno(reader.file.get()), F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_NE(fcntl(fileno(reader.file.get()), F_GETFD) & FD_CLOEXEC, 0);
  TestKey writer(path);
  ASSERT_EQ(writer.LoadKey("A", 0, 2, nullptr), 1);
  EXPECT_EQ(fcntl(fileno(writer.file.get()), F_GETFL) & O_ACCMODE, O_RDWR);
  EXPECT_NE(fcntl(fileno(writer.file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(LoadKey, DiscardsTheOldValuesWhenItFails) {
  write("[A]\nv=\"1\"\n");
  TestKey& key = loaded("A", 3);
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("None", 0, 3, nullptr); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.FindValue("v", nullptr, nullptr, nullptr); }));
  EXPECT_TRUE(fails_with(2, [&] { return set_text(key, "v", "2"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteValue("v"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.Commit(nullptr); }));
  EXPECT_EQ(content(), "[A]\nv=\"1\"\n");
  EXPECT_STREQ(key.keyName.get(), "A\\");  // Only a key that was opened changes the path.
}

TEST_F(LoadKey, SeesAChangedFileWhenItLoadsAgain) {
  write("[A]\nv=\"1\"\n");
  TestKey& key = loaded("");
  write_file(path + ".new", "v=\"2\"\n");
  std::filesystem::rename(path + ".new", path);
  ASSERT_EQ(key.LoadKey("", 0, 0, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), two);
  write("v=\"1\"\n");
  ASSERT_EQ(key.LoadKey("", 0, 0, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), one);
}

TEST_F(LoadKey, TakesAHeaderWithoutABracketAsTheEndOfASection) {
  write("[A]\nv=\"1\"\n[B\nv=\"2\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"v"}));
  EXPECT_EQ(find_value(key, "v"), one);
  EXPECT_EQ(loaded("").sections_below(), (Names{"A\\"}));
}

TEST_F(LoadKey, ReadsALineUpToItsFirstZeroByte) {
  write(zeroed("[A]\0\nv=\"1\0x\"\nw\0=\"1\"\n[\0B]\nx=\"1\"\n"));
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"v"}));
  EXPECT_EQ(find_value(key, "v"), one);
}

TEST_F(LoadKey, ReadsALineOf4095BytesWhole) {
  const std::string text(4095 - 5, 'x');
  write("[A]\nv=\"" + text + "\"\n");
  EXPECT_EQ(find_value(loaded("A"), "v"), (Value{REG_SZ, text + zeroed("\0")}));
}

TEST_F(LoadKey, ReadsALongerLineInPieces) {
  // The first piece has 4095 bytes and no closing quote; the second one starts a section.
  const std::string text(4095 - 3, 'x');
  write("[A]\nv=\"" + text + "[B]\nw=\"2\"\n");
  TestKey& key = loaded("A");
  EXPECT_EQ(value_names(key), (Names{"v"}));
  EXPECT_EQ(find_value(key, "v"), (Value{REG_SZ, text + zeroed("\0")}));
  EXPECT_EQ(find_value(loaded("B"), "w"), two);
}

TEST_F(LoadKey, FindsTheLongestHeaderAndNoneThatIsCut) {
  const std::string longest(4095 - 2, 'k');
  write("[" + longest + "]\nv=\"1\"\n[k" + longest + "]\nv=\"2\"\n");
  EXPECT_EQ(find_value(loaded(longest.c_str()), "v"), one);
  EXPECT_EQ(loaded("").sections_below(), (Names{longest + "\\"}));
}

TEST_F(LoadKey, ReadsAnyBytes) {
  std::string bytes;
  for (int i = 0; i < 40000; ++i)
    bytes += static_cast<char>((i * i + i / 7) & 0xFF);
  write(bytes + "\n[A]\nv=\"1\"\n" + bytes);
  EXPECT_EQ(find_value(loaded("A"), "v"), one);
  EXPECT_EQ(loaded("").sections_below().front(), "A\\");
}

}  // namespace
}  // namespace tavtest
