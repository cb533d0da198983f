#include "registry/line_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class LineReaderTest : public RegistryTest {
 protected:
  ~LineReaderTest() override { close(fd_); }

  int opened(const std::string& bytes) {
    write(bytes);
    fd_ = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    return fd_;
  }

  static Names lines(tavlib::LineReader& reader) {
    Names result;
    tavlib::Line line{};
    while (reader.next(line)) {
      EXPECT_EQ(line.text[line.length], '\0');
      result.emplace_back(line.text, line.length);
    }
    return result;
  }

  Names lines_of(const std::string& bytes) {
    tavlib::LineReader reader(opened(bytes), 0);
    Names result = lines(reader);
    EXPECT_TRUE(reader.good());
    return result;
  }

  int fd_{-1};
};

TEST_F(LineReaderTest, FindsNothingInAnEmptyFile) {
  EXPECT_EQ(lines_of(""), Names{});
}

TEST_F(LineReaderTest, GivesEachLineWithItsNewline) {
  EXPECT_EQ(lines_of("one\n\ntwo\n"), (Names{"one\n", "\n", "two\n"}));
}

TEST_F(LineReaderTest, GivesALastLineWithoutNewline) {
  EXPECT_EQ(lines_of("one\ntwo"), (Names{"one\n", "two"}));
}

TEST_F(LineReaderTest, KeepsZeroBytes) {
  EXPECT_EQ(lines_of(zeroed("a\0b\n\0\0\nc")), (Names{zeroed("a\0b\n"), zeroed("\0\0\n"), "c"}));
}

TEST_F(LineReaderTest, GivesTheLongestLineInOnePiece) {
  const std::string longest = std::string(4094, 'x') + "\n";
  EXPECT_EQ(lines_of(longest + "y\n"), (Names{longest, "y\n"}));
}

TEST_F(LineReaderTest, GivesALongerLineInPieces) {
  EXPECT_EQ(lines_of(std::string(4095, 'x') + "\ny\n"), (Names{std::string(4095, 'x'), "\n", "y\n"}));
  close(fd_);
  EXPECT_EQ(lines_of(std::string(10000, 'x')),
            (Names{std::string(4095, 'x'), std::string(4095, 'x'), std::string(1810, 'x')}));
}

TEST_F(LineReaderTest, TellsWhereTheNextLineStarts) {
  const std::string many(3000, 'x');
  tavlib::LineReader reader(opened(many + "\n" + many + "\n" + many + "\n" + many + "\nend"), 0);
  tavlib::Line line{};
  for (int i = 0; i <= 4; ++i) {
    EXPECT_EQ(reader.position(), i * 3001);
    EXPECT_TRUE(reader.next(line));
  }
  EXPECT_EQ(reader.position(), 4 * 3001 + 3);
  EXPECT_FALSE(reader.next(line));
}

TEST_F(LineReaderTest, StartsAnywhereAndLeavesTheDescriptorAlone) {
  tavlib::LineReader reader(opened("one\ntwo\n"), 4);
  EXPECT_EQ(lines(reader), (Names{"two\n"}));
  EXPECT_EQ(lseek(fd_, 0, SEEK_CUR), 0);
}

TEST_F(LineReaderTest, TellsAFailedReadFromTheEnd) {
  tavlib::LineReader reader(opened("one\n"), 0);
  const CallFails fails(Call::read, 2, EIO);
  EXPECT_EQ(lines(reader), (Names{"one\n"}));
  EXPECT_FALSE(reader.good());
  EXPECT_EQ(AErrors::GetRtlError(), 5U);
}

TEST_F(LineReaderTest, TellsAReadOfNothingFromTheEnd) {
  tavlib::LineReader reader(opened("one\n"), 0);
  const CallFails fails(Call::read_nothing, 1, EAGAIN);
  EXPECT_EQ(lines(reader), Names{});
  EXPECT_FALSE(reader.good());
  EXPECT_EQ(AErrors::GetRtlError(), 5U);
}

TEST_F(LineReaderTest, GoesOnAfterASignal) {
  tavlib::LineReader reader(opened("one\n"), 0);
  const CallFails fails(Call::read, 1, EINTR);
  EXPECT_EQ(lines(reader), (Names{"one\n"}));
  EXPECT_TRUE(reader.good());
}

}  // namespace
}  // namespace tavtest
