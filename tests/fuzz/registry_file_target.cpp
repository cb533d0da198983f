// A registry file with any content is loaded, enumerated, changed, committed and loaded again.
//
// Input, all text: a line with a key path, a line with a value's name, a line with a digit for the value's
// type and the value's bytes; then the file.

#include "fuzz/fuzz_target.h"
#include "fuzz/registry_session.h"

namespace tavtest {
namespace {

constexpr unsigned kRead = 1;
constexpr unsigned kWrite = 2;

/// A line of the input as a C string.
std::string text_line(Input& input) {
  const std::string line = input.until('\n');
  return line.substr(0, line.find('\0'));
}

ModelValue value_line(Input& input, const std::string& name) {
  const unsigned type = static_cast<unsigned>(input.byte() - '0') % 10;
  return {name, type, input.until('\n')};
}

void try_file(Input input) {
  const std::string path = text_line(input);
  const std::string name = text_line(input);
  const ModelValue value = value_line(input, name);
  const Bytes file = input.rest();

  RegistrySession session({file.begin(), file.end()});
  session.open("", false, kRead);
  session.open(path, false, kRead);
  session.find_value(name);
  session.delete_value(name);
  session.open(path, true, kRead | kWrite);
  session.set_value(value);
  session.find_value(name);
  session.set_value({name + "2", value.type, value.bytes + '\0'});
  session.delete_value(name);
  session.open(path, false, kRead, true);
  session.open("", false, kWrite);
  session.set_value(value);
  session.delete_value(name);
  session.delete_key(path);
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::try_file({data, size});
  return 0;
}
