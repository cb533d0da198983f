#include "fuzz/registry_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tavtest {
namespace {

constexpr std::size_t kLongestLine = 4095;
constexpr unsigned kText = 1;
constexpr unsigned kBytes = 3;
constexpr unsigned kNumber = 4;
constexpr unsigned kList = 7;

char lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

std::string until_zero(const std::string& bytes) {
  return bytes.substr(0, bytes.find('\0'));
}

/// Takes the characters up to an unescaped `quote` off the front of `text`. False when the text ended first.
bool take_quoted(std::string_view& text, char quote, std::string& taken) {
  while (!text.empty() && text.front() != quote) {
    if (text.front() == '\\') text.remove_prefix(1);
    if (text.empty()) return false;
    taken += text.front();
    text.remove_prefix(1);
  }
  return !text.empty();
}

std::string read_text(std::string_view text) {
  std::string bytes;
  take_quoted(text, '"', bytes);
  return bytes + '\0';
}

std::string read_list(std::string_view text) {
  std::string bytes;
  while (take_quoted(text, '\'', bytes)) {
    bytes += '\0';
    const std::size_t next = text.find('\'', 1);
    text = next == std::string_view::npos ? std::string_view() : text.substr(next + 1);
  }
  return bytes + std::string(2, '\0');
}

std::string number_bytes(std::uint32_t number) {
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

std::string read_number(std::string_view text) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
    number = number * 10 + static_cast<std::uint32_t>(text[i] - '0');
  return number_bytes(number);
}

std::string read_hex(std::string_view text) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    const std::size_t high = kDigits.find(lower(text[i]));
    const std::size_t low = kDigits.find(lower(text[i + 1]));
    if (high == std::string_view::npos || low == std::string_view::npos) break;
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

std::string escaped(const std::string& text, char quote) {
  std::string result(1, quote);
  for (const char character : text) {
    if (character == quote || character == '\\') result += '\\';
    result += character;
  }
  return result + quote;
}

std::string list_text(const std::string& bytes) {
  std::string result;
  std::string text;
  for (std::size_t at = 0; at < bytes.size() && bytes[at] != '\0'; at += text.size() + 1) {
    text = until_zero(bytes.substr(at));
    result += escaped(text, '\'');
  }
  return result;
}

std::string number_text(const std::string& bytes) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
  return std::to_string(number);
}

std::string hex_text(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result = "$";
  for (const char byte : until_zero(bytes)) {
    const auto value = static_cast<unsigned char>(byte);
    result += kDigits[value / 16];
    result += kDigits[value % 16];
  }
  return result;
}

std::string encoded(const ModelValue& value) {
  switch (value.type) {
    case kText:
      return escaped(until_zero(value.bytes), '"');
    case kNumber:
      return number_text(value.bytes);
    case kList:
      return list_text(value.bytes);
    default:
      return hex_text(value.bytes);
  }
}

/// One or more texts, none of them empty, each with its zero byte, and two more zero bytes.
bool is_whole_list(const std::string& bytes) {
  if (bytes.size() < 4 || bytes.front() == '\0') return false;
  return bytes.find(std::string(2, '\0')) == bytes.size() - 3 && bytes.ends_with(std::string(3, '\0'));
}

bool bytes_are_holdable(const ModelValue& value) {
  const bool one_line = value.bytes.find('\n') == std::string::npos;
  switch (value.type) {
    case kText:
      return one_line && !value.bytes.empty() && value.bytes.find('\0') == value.bytes.size() - 1;
    case kBytes:
      return value.bytes.find('\0') == std::string::npos;
    case kNumber:
      return value.bytes.size() == 4;
    case kList:
      return one_line && is_whole_list(value.bytes);
    default:
      return false;
  }
}

}  // namespace

std::vector<std::string> split_lines(const std::string& content) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < content.size(); at += lines.back().size()) {
    const std::size_t newline = content.find('\n', at);
    const std::size_t end = newline == std::string::npos ? content.size() : newline + 1;
    lines.push_back(content.substr(at, std::min(end - at, kLongestLine)));
  }
  return lines;
}

std::string text_of(const std::string& line) {
  return until_zero(line);
}

std::optional<std::string> header_key(const std::string& line) {
  const std::string text = text_of(line);
  const std::size_t end = text.rfind(']');
  if (!text.starts_with('[') || end == std::string::npos) return std::nullopt;
  const std::string key = text.substr(1, end - 1);
  return key.ends_with('\\') ? key : key + '\\';
}

std::optional<ModelValue> value_on(const std::string& line) {
  const std::string text = text_of(line);
  const std::size_t equals = text.find('=');
  if (text.starts_with('#') || equals == std::string::npos || equals + 1 == text.size()) return std::nullopt;
  const std::string name = text.substr(0, equals);
  const std::string_view behind_mark = std::string_view(text).substr(equals + 2);
  const char mark = text[equals + 1];
  if (mark == '"') return ModelValue{name, kText, read_text(behind_mark)};
  if (mark == '\'') return ModelValue{name, kList, read_list(behind_mark)};
  if (mark == '$') return ModelValue{name, kBytes, read_hex(behind_mark)};
  if (mark >= '0' && mark <= '9') return ModelValue{name, kNumber, read_number(text.substr(equals + 1))};
  return std::nullopt;
}

std::string line_for(const ModelValue& value) {
  return value.name + '=' + encoded(value) + '\n';
}

bool is_holdable(const ModelValue& value) {
  if (value.name.find_first_of("=\n") != std::string::npos) return false;
  if (value.name.starts_with('[') || value.name.starts_with('#')) return false;
  return bytes_are_holdable(value) && line_for(value).size() <= kLongestLine;
}

bool same_text(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() && same_text(text.substr(0, beginning.size()), beginning);
}

}  // namespace tavtest
