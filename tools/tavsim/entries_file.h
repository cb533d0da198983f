#ifndef TAVSIM_ENTRIES_FILE_H
#define TAVSIM_ENTRIES_FILE_H

#include <iosfwd>
#include <string>
#include <vector>

#include "tavsim/entry.h"

namespace tavsim {

/// Reads a JSON array of entry objects. Each needs "address" (dotted quad) and may have "user", "string2",
/// "string3" (texts of characters up to U+FFFF), "data" (hex digits), "flag8" (true, false or a number) and
/// the numbers "tag", "word7", "word9" to "word14". Throws InputError with the number of the entry, from 1,
/// and the field.
std::vector<Entry> read_entries(std::istream& input);

/// Reads the file at `path`; its name stands in front of every error.
std::vector<Entry> load_entries(const std::string& path);

}  // namespace tavsim

#endif
