// DeMarshalTAVEntryA and W on any 4096 bytes.
//
// Input: the index of the descriptor (4 bytes), then the packet, which is filled up with zeros.

#include <cstring>

#include "fuzz/entry_reading.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::Input input(data, size);
  const unsigned index = input.be32();
  const tavtest::Bytes bytes = input.take(sizeof(_TAVPACKET));
  _TAVPACKET packet{};
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<unsigned char*>(&packet));
  tavtest::check_reading(packet, index, false);
  tavtest::check_reading(packet, index, true);
  return 0;
}
