#ifndef TAVSIM_STORE_H
#define TAVSIM_STORE_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tavsim/entry.h"

namespace tavsim {

/// The entries of the server, in order. An entry that is handed out carries in `word13` the number of the
/// entry after it, counted from 0; a client that sends it back as its cursor continues there.
class Store {
 public:
  Store() = default;
  explicit Store(std::vector<Entry> entries) : entries_(std::move(entries)) {}

  /// Takes an entry: in the place of the first one with the same user and address, else at the end. True when
  /// an entry was replaced.
  bool add(Entry entry);

  /// The first entry from number `cursor.word13` on that matches `cursor` in the fields that `mask` selects.
  std::optional<Entry> next(const Entry& cursor, std::uint32_t mask) const;

  std::size_t size() const { return entries_.size(); }

 private:
  std::vector<Entry> entries_;
};

}  // namespace tavsim

#endif
