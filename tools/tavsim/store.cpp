#include "tavsim/store.h"

#include <algorithm>
#include <utility>

namespace tavsim {

bool Store::add(Entry entry) {
  const auto same = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& other) {
    return matches(other, entry, match_user | match_address);
  });
  if (same == entries_.end()) {
    entries_.push_back(std::move(entry));
    return false;
  }
  *same = std::move(entry);
  return true;
}

std::optional<Entry> Store::next(const Entry& cursor, std::uint32_t mask) const {
  for (std::size_t i = cursor.word13; i < entries_.size(); ++i) {
    if (!matches(entries_[i], cursor, mask)) continue;
    Entry found = entries_[i];
    found.word13 = static_cast<std::uint32_t>(i + 1);
    return found;
  }
  return std::nullopt;
}

}  // namespace tavsim
