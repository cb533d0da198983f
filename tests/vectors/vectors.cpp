#include "vectors/vectors.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace tavtest {
namespace {

std::string hex(std::string_view bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text.push_back(digits[value >> 4]);
    text.push_back(digits[value & 15]);
  }
  return text;
}

std::string bytes_of_hex(std::string_view digits) {
  std::string bytes;
  for (std::size_t i = 0; i + 2 <= digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoul(std::string(digits.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

std::string hex_of(std::uint64_t number) {
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8)
    bytes.push_back(static_cast<char>(number >> shift & 0xff));
  return hex(bytes);
}

std::string block_question(const char* what, std::string_view key, std::string_view block) {
  return what + hex(key) + ' ' + hex(block) + ' ';
}

}  // namespace

void DigestInput::add(std::string_view bytes) {
  size_ += bytes.size();
  for (const char byte : bytes)
    name_ = (name_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
}

std::string DigestInput::question() const {
  return "md5 " + std::to_string(size_) + '-' + hex_of(name_) + ' ';
}

std::string encipher_question(std::string_view key, std::string_view block) {
  return block_question("encipher ", key, block);
}

std::string decipher_question(std::string_view key, std::string_view block) {
  return block_question("decipher ", key, block);
}

std::string answer_line(std::string_view answer) {
  return hex(answer) + '\n';
}

Vectors::Vectors(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  void* mapped = MAP_FAILED;
  if (file >= 0 && fstat(file, &status) == 0) {
    mapped = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
  }
  if (file >= 0) close(file);
  if (mapped == MAP_FAILED) throw std::runtime_error("cannot read " + path);
  file_ = {static_cast<const char*>(mapped), static_cast<std::size_t>(status.st_size)};
}

Vectors::~Vectors() {
  munmap(const_cast<char*>(file_.data()), file_.size());
}

// The line that holds the byte at `position`, without its end.
std::string_view Vectors::line_at(std::size_t position) const {
  const std::size_t before = position == 0 ? std::string_view::npos : file_.rfind('\n', position - 1);
  const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
  return file_.substr(start, file_.find('\n', position) - start);
}

std::optional<std::string> Vectors::answer(std::string_view question) const {
  std::size_t low = 0;
  std::size_t high = file_.size();
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const std::string_view line = line_at(middle);
    if (line.starts_with(question)) return bytes_of_hex(line.substr(question.size()));
    if (line < question) {
      low = static_cast<std::size_t>(line.data() - file_.data()) + line.size() + 1;
    } else {
      high = static_cast<std::size_t>(line.data() - file_.data());
    }
  }
  return std::nullopt;
}

}  // namespace tavtest
