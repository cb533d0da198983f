#include "fuzz/registry_model.h"

#include <algorithm>

#include "fuzz/registry_text.h"

namespace tavtest {
namespace {

constexpr unsigned kWrite = 2;
constexpr std::size_t kLongestPath = 4095;
constexpr std::size_t kLongestHeader = 4095;

constexpr ErrorNumber kNoEntry = 2;
constexpr ErrorNumber kBadDescriptor = 9;
constexpr ErrorNumber kDenied = 13;
constexpr ErrorNumber kInvalid = 22;

std::string with_backslash(const std::string& name) {
  return name.ends_with('\\') ? name : name + '\\';
}

std::string target_of(const std::string& base, std::string path) {
  path.erase(path.find_last_not_of('\\') + 1);
  return path.empty() ? path : (base + path + '\\').substr(0, kLongestPath);
}

/// What opening a key meets in the file.
struct Found {
  bool present = false;
  std::optional<std::size_t> values_from;  ///< A line.
};

Found search(const std::vector<std::string>& lines, const std::string& target,
             std::vector<std::string>& below) {
  Found found;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto key = header_key(lines[i]);
    if (!key || !begins_with(*key, target)) continue;
    found.present = true;
    if (key->size() == target.size()) {
      found.values_from = i + 1;
    } else {
      below.push_back(key->substr(target.size()));
    }
  }
  if (target.empty()) found.values_from = 0;
  return found;
}

/// Why a key without a section cannot be opened; 0 when it can.
ErrorNumber refusal(const Found& found, bool create, bool write) {
  if (!create) return found.present ? 0 : kNoEntry;
  if (write) return 0;
  // A header would have to be appended, for which a file that is open for reading cannot be locked.
  return found.present ? kBadDescriptor : kDenied;
}

void append_header(std::string& content, const std::string& target) {
  if (!content.empty() && content.back() != '\n') content += '\n';
  content += '[' + target + "]\n";
}

bool repeats(const std::string& entry, const std::string& previous) {
  return begins_with(entry, previous) && (entry.size() == previous.size() || entry[previous.size()] == '\\');
}

}  // namespace

ModelKey::ModelKey(std::string& content, std::string name, unsigned access)
    : content_(&content), name_(std::move(name)), access_(access) {}

std::optional<ModelKey> ModelKey::open(std::string& content, const std::string& base, const std::string& path,
                                       bool create, unsigned access, bool& created, ErrorNumber& error) {
  ModelKey key(content, target_of(base, path), access);
  created = false;
  error = 0;
  const Found found = search(split_lines(content), key.name_, key.below_);
  if (found.values_from) {
    key.read_values(*found.values_from);
    return key;
  }
  const bool write = (access & kWrite) != 0;
  error = refusal(found, create, write);
  if (error != 0) return std::nullopt;
  if (!write) return key;
  append_header(content, key.name_);
  created = create && !found.present;
  return key;
}

void ModelKey::read_values(std::size_t line) {
  const std::vector<std::string> lines = split_lines(*content_);
  for (; line < lines.size() && !is_header(lines[line]); ++line) {
    if (const auto value = value_on(lines[line])) enter(*value);
  }
}

void ModelKey::enter(const ModelValue& value) {
  const auto old = std::find_if(values_.begin(), values_.end(),
                                [&](const ModelValue& held) { return same_text(held.name, value.name); });
  if (old != values_.end()) {
    *old = value;
  } else {
    values_.push_back(value);
  }
}

const ModelValue* ModelKey::find(const std::string& value_name) const {
  const auto found = std::find_if(values_.begin(), values_.end(),
                                  [&](const ModelValue& held) { return same_text(held.name, value_name); });
  return found == values_.end() ? nullptr : &*found;
}

ErrorNumber ModelKey::set_value(const ModelValue& value) {
  if (name_.empty()) return kInvalid;
  if ((access_ & kWrite) == 0) return kDenied;
  enter(value);
  commit(std::nullopt);
  return 0;
}

// Only every second value can be deleted.
ErrorNumber ModelKey::delete_value(const std::string& name) {
  for (std::size_t i = 0; i < values_.size(); i += 2) {
    if (!same_text(values_[i].name, name)) continue;
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(i));
    commit(std::nullopt);
    return 0;
  }
  return kNoEntry;
}

ErrorNumber ModelKey::delete_key(const std::string& name) {
  if ((access_ & kWrite) == 0) return kDenied;
  const std::string child = with_backslash(name);
  std::optional<std::size_t> last;
  for (std::size_t i = 0; i < below_.size(); ++i) {
    if (!begins_with(below_[i], child)) continue;
    if (below_[i].size() > child.size()) return kDenied;
    if (i + 1 < below_.size() && begins_with(child, below_[i + 1])) return kDenied;
    last = i;
  }
  if (!last) return kNoEntry;
  below_.erase(below_.begin() + static_cast<std::ptrdiff_t>(*last));
  commit(child);
  return 0;
}

// The section to be removed is told relative to the key but looked for from the top of the file.
void ModelKey::commit(const std::optional<std::string>& removed) {
  std::string written;
  bool skipping = false;
  for (const std::string& line : split_lines(*content_)) {
    if (is_header(line)) skipping = false;
    const auto key = header_key(line);
    if (!key) {
      if (!skipping) written += line;
    } else if (same_text(*key, name_)) {
      written += '[' + *key + "]\n";
      for (const ModelValue& value : values_)
        written += line_for(value);
      skipping = true;
    } else if (removed && same_text(*key, *removed)) {
      skipping = true;
    } else {
      written += '[' + *key + "]\n";
    }
  }
  *content_ = written;
}

std::vector<std::string> ModelKey::children() const {
  std::vector<std::string> names;
  const std::string* previous = nullptr;
  for (const std::string& entry : below_) {
    if (previous == nullptr || !repeats(entry, *previous)) names.push_back(entry.substr(0, entry.find('\\')));
    previous = &entry;
  }
  return names;
}

bool ModelKey::is_holdable() const {
  if (name_.empty() || name_.find('\n') != std::string::npos) return false;
  if (name_.size() + 3 > kLongestHeader) return false;
  return std::all_of(values_.begin(), values_.end(),
                     [](const ModelValue& value) { return tavtest::is_holdable(value); });
}

}  // namespace tavtest
