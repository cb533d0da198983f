#ifndef TAVLIB_REGISTRY_SECTION_HEADER_H
#define TAVLIB_REGISTRY_SECTION_HEADER_H

#include "registry/line_reader.h"

namespace tavlib {

/// Whether the line ends the section before it.
inline bool is_header(const Line& line) {
  return line.text[0] == '[';
}

/// The key path in a header line, with a trailing backslash. Null, with the line unchanged, when it has no
/// closing bracket and so names no key. The path is built within the line.
char* header_path(const Line& header);

}  // namespace tavlib

#endif
