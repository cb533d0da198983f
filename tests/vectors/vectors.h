#ifndef TAVLIB_TESTS_VECTORS_VECTORS_H
#define TAVLIB_TESTS_VECTORS_VECTORS_H

// What libcrypto answered, in a file of lines that are sorted byte by byte:
//
//   decipher KEY BLOCK BLOCK
//   encipher KEY BLOCK BLOCK
//   md5 SIZE-NAME DIGEST
//
// Blocks are 8 bytes of Blowfish. What was digested stands there by its size and a short name, its FNV-1a of
// 64 bits: whole, it would take gigabytes. Apart from the size, all of it is in hexadecimal digits.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavtest {

/// What is digested, as far as it was handed over.
class DigestInput {
 public:
  void add(std::string_view bytes);
  /// The question for its digest, up to and with the space before the answer.
  std::string question() const;

 private:
  std::size_t size_ = 0;
  std::uint64_t name_ = 0xcbf29ce484222325;
};

/// The question for a block's cipher text or plain text, up to and with the space before the answer.
std::string encipher_question(std::string_view key, std::string_view block);
std::string decipher_question(std::string_view key, std::string_view block);

/// The answer as it stands in the file, with the end of the line.
std::string answer_line(std::string_view answer);

/// The answers in a file.
class Vectors {
 public:
  /// Throws std::runtime_error when the file cannot be read.
  explicit Vectors(const std::string& path);
  Vectors(const Vectors&) = delete;
  Vectors& operator=(const Vectors&) = delete;
  ~Vectors();

  /// The answer's bytes; none when the question was not asked.
  std::optional<std::string> answer(std::string_view question) const;

 private:
  std::string_view line_at(std::size_t position) const;

  std::string_view file_;
};

}  // namespace tavtest

#endif
