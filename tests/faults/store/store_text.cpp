#include "faults/store/store_text.h"

#include <algorithm>
#include <cctype>

namespace tavtest {
namespace {

bool all_digits(const std::string& text, const char* digits) {
  return !text.empty() && text.find_first_not_of(digits) == std::string::npos;
}

/// Reads texts between quotes that follow each other; nothing when a quote is missing or something else
/// stands between them.
std::optional<std::vector<std::string>> quoted_texts(const std::string& line, char quote) {
  std::vector<std::string> texts;
  bool open = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (!open) {
      if (line[i] != quote) return std::nullopt;
      texts.emplace_back();
      open = true;
    } else if (line[i] == quote) {
      open = false;
    } else {
      if (line[i] == '\\' && ++i == line.size()) return std::nullopt;
      texts.back() += line[i];
    }
  }
  if (open) return std::nullopt;
  return texts;
}

std::optional<std::string> decoded(const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (text[0] == '"') {
    const auto texts = quoted_texts(text, '"');
    return texts && texts->size() == 1 ? std::optional(texts->front()) : std::nullopt;
  }
  if (text[0] == '\'') {
    const auto texts = quoted_texts(text, '\'');
    if (!texts) return std::nullopt;
    std::string joined;
    for (const std::string& one : *texts)
      joined += one + ',';
    return joined;
  }
  if (text[0] == '$') {
    const std::string digits = text.substr(1);
    const bool bytes = digits.size() % 2 == 0 && all_digits(digits, "0123456789ABCDEF");
    return bytes ? std::optional(digits) : std::nullopt;
  }
  return all_digits(text, "0123456789") ? std::optional(text) : std::nullopt;
}

std::optional<std::string> header_of(const std::string& line) {
  const std::size_t end = line.rfind(']');
  if (line[0] != '[' || end == std::string::npos) return std::nullopt;
  std::string path = line.substr(1, end - 1);
  if (path.empty() || path.back() != '\\') path += '\\';
  return path;
}

class Reader {
 public:
  /// False when the line makes no sense.
  bool take(const std::string& line) {
    if (line[0] == '#') return true;
    if (line[0] == '[') return begin(line);
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || !in_key_) return false;
    const auto value = decoded(line.substr(equals + 1));
    if (value) store.keys[key_][line.substr(0, equals)] = *value;
    return value.has_value();
  }

  StoreText store;

 private:
  bool begin(const std::string& line) {
    const auto path = header_of(line);
    in_key_ = path.has_value();
    if (!path) return false;
    key_ = *path;
    store.keys[key_].clear();  // Of several sections of one key the last one counts.
    return true;
  }

  std::string key_;
  bool in_key_ = true;
};

}  // namespace

StoreText read_store(const std::string& text) {
  Reader reader;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t newline = text.find('\n', start);
    const std::string line = text.substr(start, newline - start);
    const bool finished = newline != std::string::npos;
    // What interprets a line takes it as a text, which ends at its first zero byte.
    const std::string shown = line.c_str();
    if (shown.empty() || !reader.take(shown)) {
      if (finished) {
        reader.store.strays.push_back(line);
      } else {
        reader.store.unfinished = line;
      }
    }
    start += line.size() + 1;
  }
  return reader.store;
}

std::optional<std::string> StoreText::value(const std::string& key, const std::string& name) const {
  const auto section = keys.find(key);
  if (section == keys.end()) return std::nullopt;
  const auto found = section->second.find(name);
  return found == section->second.end() ? std::nullopt : std::optional(found->second);
}

long StoreText::number(const std::string& key, const std::string& name) const {
  const auto found = value(key, name);
  return found && all_digits(*found, "0123456789") ? std::stol(*found) : -1;
}

}  // namespace tavtest
