#include "registry/section_header.h"

#include <cstring>

namespace tavlib {

char* header_path(const Line& header) {
  char* path = header.text + 1;
  char* end = std::strrchr(path, ']');
  if (end == nullptr) return nullptr;
  // The backslash may stand where the bracket stood, and the terminator behind that.
  if (end == path || end[-1] != '\\') *end++ = '\\';
  *end = '\0';
  return path;
}

}  // namespace tavlib
