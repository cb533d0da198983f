#ifndef TAVLIB_REGISTRY_SECTION_HEADER_H
#define TAVLIB_REGISTRY_SECTION_HEADER_H

#include "registry/line_reader.h"

namespace tavlib {

/// Whether the line ends the section before it.
inline bool is_header(const Line& line) {
  return line.text[0] == '[';
}

/// The key path that a header line names, with its trailing backslash; null, and the line unchanged, when it
/// has no closing bracket and so names no key. The path is made within the line.
char* header_path(const Line& header);

}  // namespace tavlib

#endif
