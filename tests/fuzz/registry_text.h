#ifndef TAVLIB_TESTS_FUZZ_REGISTRY_TEXT_H
#define TAVLIB_TESTS_FUZZ_REGISTRY_TEXT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/registry_model.h"

/// The text of registry files.
namespace tavtest {

/// The content's lines with their newlines; one of more than 4095 bytes in pieces of that size.
std::vector<std::string> split_lines(const std::string& content);

/// A line as it is understood: up to its first zero byte.
std::string text_of(const std::string& line);

inline bool is_header(const std::string& line) {
  return text_of(line).starts_with('[');
}

/// The key that a header names, with a trailing backslash; nothing for other lines and a header without a
/// bracket at its end.
std::optional<std::string> header_key(const std::string& line);

/// The value on a line; nothing for a line that holds none.
std::optional<ModelValue> value_on(const std::string& line);

/// The line that a value is written as.
std::string line_for(const ModelValue& value);

/// Whether a line with the value gives the same value back.
bool is_holdable(const ModelValue& value);

/// Comparisons without regard to case.
bool same_text(std::string_view a, std::string_view b);
bool begins_with(std::string_view text, std::string_view beginning);

}  // namespace tavtest

#endif
