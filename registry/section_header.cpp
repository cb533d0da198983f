#include "registry/section_header.h"

#include <cstring>

namespace tavlib {

char* header_path(const Line& header) {
  char* path = header.text + 1;
  char* end = std::strrchr(path, ']');
  if (end == nullptr) return nullptr;
  // The backslash may replace the bracket, and the terminator comes after it.
  if (end == path || end[-1] != '\\') *end++ = '\\';
  *end = '\0';
  return path;
}

}  // namespace tavlib
