#include "vectors/vectors.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/temp_folder.h"

namespace tavtest {
namespace {

std::string question_for(std::string_view input) {
  DigestInput whole;
  whole.add(input);
  return whole.question();
}

// The names are the published ones of FNV-1a.
TEST(Vectors, NameWhatIsDigestedByItsSizeAndFnv1a) {
  EXPECT_EQ(question_for(""), "md5 0-cbf29ce484222325 ");
  EXPECT_EQ(question_for("a"), "md5 1-af63dc4c8601ec8c ");
  EXPECT_EQ(question_for("foobar"), "md5 6-85944171f73967e8 ");
}

TEST(Vectors, NameWhatIsDigestedInPiecesLikeTheWhole) {
  DigestInput pieces;
  pieces.add("foo");
  pieces.add("");
  pieces.add("bar");
  EXPECT_EQ(pieces.question(), question_for("foobar"));
}

TEST(Vectors, AskForABlockByItsKeyAndItsBytes) {
  EXPECT_EQ(encipher_question("\x01\xfe", "12345678"), "encipher 01fe 3132333435363738 ");
  EXPECT_EQ(decipher_question("k", "abcdefgh"), "decipher 6b 6162636465666768 ");
}

TEST(Vectors, GiveTheAnswerToEachQuestionOfAFileAndToNoOther) {
  const TempFolder folder;
  write_file(folder.file("vectors"),
             "decipher 00 0000000000000001 4142434445464748\n"
             "encipher 00 4142434445464748 0000000000000001\n"
             "encipher 0000 4142434445464748 00000000000000ff\n"
             "md5 0-cbf29ce484222325 6162\n"
             "md5 10-cbf29ce484222325 63\n");
  const Vectors vectors(folder.file("vectors"));
  const std::string one("\0\0\0\0\0\0\0\1", 8);
  const std::string last("\0\0\0\0\0\0\0\xff", 8);
  const std::string key(1, '\0');
  const std::string longer_key(2, '\0');
  EXPECT_EQ(vectors.answer(decipher_question(key, one)), "ABCDEFGH");
  EXPECT_EQ(vectors.answer(encipher_question(key, "ABCDEFGH")), one);
  EXPECT_EQ(vectors.answer(encipher_question(longer_key, "ABCDEFGH")), last);
  EXPECT_EQ(vectors.answer(question_for("")), "ab");
  EXPECT_EQ(vectors.answer("md5 10-cbf29ce484222325 "), "c");
  EXPECT_FALSE(vectors.answer(question_for("a")));
  EXPECT_FALSE(vectors.answer("a "));
  EXPECT_FALSE(vectors.answer("encipher 000 "));
  EXPECT_FALSE(vectors.answer("z "));
}

TEST(Vectors, RefuseAFileThatIsNotThere) {
  const TempFolder folder;
  EXPECT_THROW(Vectors(folder.file("vectors")), std::runtime_error);
}

}  // namespace
}  // namespace tavtest
