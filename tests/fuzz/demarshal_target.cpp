// DeMarshalTAVEntryA and W on any 4096 bytes.
//
// Input: the index of the descriptor (4 bytes), then the packet, which is filled up with zeros.

#include "fuzz/entry_reading.h"
#include "fuzz/fuzz_target.h"

#ifdef TAVTEST_LIBFUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

// A length word of any size lets texts of 65,535 characters in, and reading those takes nearly all the time.
// Seven in eight inputs get one that is not much larger than a packet.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
  constexpr std::size_t kLengthAt = 4;
  const std::size_t mutated = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 == 0 || mutated < kLengthAt + 4) return mutated;
  data[kLengthAt] = data[kLengthAt + 1] = 0;
  data[kLengthAt + 2] &= 0x1F;
  return mutated;
}
#endif

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
