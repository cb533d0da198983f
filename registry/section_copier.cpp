#include "registry/section_copier.h"

#include "registry/section_header.h"

#include <strings.h>

namespace tavlib {

namespace {

bool same_key(const char* path, const char* key) {
  return key != nullptr && strcasecmp(path, key) == 0;
}

}  // namespace

bool SectionCopier::copy(int source) {
  LineReader reader(source, 0);
  Line line{};
  while (reader.next(line)) {
    copy_line(line);
    // Stop at once: a later write might succeed and hide the failure.
    if (std::ferror(target_) != 0) return false;
  }
  return reader.good();
}

void SectionCopier::copy_line(const Line& line) {
  if (is_header(line)) {
    skipping_ = false;
    if (const char* path = header_path(line)) return copy_header(path);
  }
  if (!skipping_) static_cast<void>(std::fwrite(line.text, 1, line.length, target_));
}

void SectionCopier::copy_header(const char* path) {
  const bool own = same_key(path, key_);
  if (!own && same_key(path, removed_key_)) {
    skipping_ = true;
    return;
  }
  static_cast<void>(std::fprintf(target_, "[%s]\n", path));
  if (own) values_.WriteData(target_);
  skipping_ = own;
}

}  // namespace tavlib
