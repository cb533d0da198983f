// Keys are opened, created and deleted by any path, values written, read and deleted under any name.
//
// Input: a byte whose bit 0 selects what the file holds first; then steps. A step is a byte (bits 0 to 2 the
// operation, the others its flags), a name that ends with a zero byte and, to write a value, its type (1
// byte), length (2 bytes) and bytes.

#include "fuzz/fuzz_target.h"
#include "fuzz/registry_session.h"

namespace tavtest {
namespace {

constexpr const char* kFirstFile =
    "top=1\n# remark\n[A\\]\nv=\"x\"\n# remark\n[A\\B\\C]\nn=7\nm='a''b'\n[a\\b] rest\nb=$FF\n";
constexpr std::size_t kMostSteps = 32;

ModelValue read_value(Input& input, const std::string& name) {
  const unsigned type = input.byte() % 10U;
  const std::size_t length = input.be16() % 5000U;
  const Bytes bytes = input.take(length);
  return {name, type, {bytes.begin(), bytes.end()}};
}

void step(RegistrySession& session, Input& input) {
  const unsigned what = input.byte();
  const std::string name = input.until('\0');
  switch (what & 7) {
    case 0:
    case 1:
      return session.open(name, (what & 0x08) != 0, what >> 4 & 3, (what & 0x40) != 0);
    case 2:
    case 3:
      return session.set_value(read_value(input, name));
    case 4:
      return session.delete_value(name);
    case 5:
      return session.delete_key(name);
    case 6:
      return session.find_value(name);
    default:
      return session.close();
  }
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::Input input(data, size);
  tavtest::RegistrySession session((input.byte() & 1) != 0 ? tavtest::kFirstFile : "");
  for (std::size_t steps = 0; steps < tavtest::kMostSteps && !input.empty() && !session.is_large(); ++steps)
    tavtest::step(session, input);
  return 0;
}
