#include "registry/section_reader.h"

#include "platform/keep_error.h"
#include "registry/failure.h"
#include "registry/line_reader.h"
#include "registry/section_header.h"

#include <strings.h>
#include <sys/stat.h>
#include <tavlib/registry/registry_key.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

namespace tavlib {

namespace {

void enter_below(ARegistryKeyList& below, const char* path) {
  if (below.Enter(path) != 0) return;
  throw ARegistryException(kOutOfMemory);
}

// A bad value is left out, and the others are used. None may be missing for lack of memory: the next commit
// would drop it from the file.
void enter_value(ARegistryData& values, const Line& line) {
  char* equals = std::strchr(line.text, '=');
  if (line.text[0] == '#' || equals == nullptr) return;
  *equals = '\0';
  if (values.EnterData(line.text, equals + 1) != 0) return;
  if (AErrors::GetRtlError() == kOutOfMemory) throw ARegistryException(kOutOfMemory);
}

// Whether the file is empty or its last line ends with a newline; nullopt when that cannot be read.
std::optional<bool> ends_with_newline(int fd, off_t size) {
  if (size == 0) return true;
  LineReader reader(fd, size - 1);
  Line last{};
  if (!reader.next(last)) return std::nullopt;
  return last.text[0] == '\n';
}

bool write_at(int fd, std::string_view text, off_t position) {
  while (!text.empty()) {
    const ssize_t written = pwrite(fd, text.data(), text.size(), position);
    if (written == -1 && errno == EINTR) continue;
    if (written == -1) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
    position += written;
  }
  return true;
}

// When a header's path holds a closing bracket, the header cut short there is that of another key, whose
// values it would hide. So the opening bracket is written once all that comes after it is on the disk: until
// then the line starts with a zero byte and means nothing. The line's end is written last, as always.
bool write_header(int fd, std::string_view header, off_t position) {
  const std::size_t end = header.size() - 1;
  if (header.find(']') + 1 == end) return write_at(fd, header, position);
  const std::size_t opened = header.find('[') + 1;
  return write_at(fd, header.substr(opened, end - opened), position + static_cast<off_t>(opened)) &&
         fsync(fd) == 0 && write_at(fd, header.substr(0, opened), position) &&
         write_at(fd, header.substr(end), position + static_cast<off_t>(end));
}

}  // namespace

bool find_section(int fd, const QuietString& target, ARegistryKeyList& below, Section& section) {
  LineReader reader(fd, 0);
  Line line{};
  while (reader.next(line)) {
    const char* path = is_header(line) ? header_path(line) : nullptr;
    if (path == nullptr || strncasecmp(path, target.c_str(), target.size()) != 0) continue;
    section.present = true;
    if (path[target.size()] == '\0') {
      section.values_at = reader.position();
    } else {
      enter_below(below, path + target.size());
    }
  }
  if (target.empty()) section.values_at = 0;
  return reader.good();
}

bool read_values(int fd, off_t position, ARegistryData& values) {
  LineReader reader(fd, position);
  Line line{};
  while (reader.next(line) && !is_header(line))
    enter_value(values, line);
  return reader.good();
}

bool append_section(int fd, const QuietString& target) {
  struct stat file {};
  if (fstat(fd, &file) == -1) return false;
  const std::optional<bool> own_line = ends_with_newline(fd, file.st_size);
  if (!own_line) return false;
  const QuietString header = (*own_line ? "[" : "\n[") + target + "]\n";
  if (write_header(fd, header, file.st_size) && fsync(fd) == 0) return true;
  const KeepError keep;
  [[maybe_unused]] const int undone = ftruncate(fd, file.st_size);
  return false;
}

}  // namespace tavlib
