#ifndef TAVLIB_TESTS_FUZZ_ENTRY_READING_H
#define TAVLIB_TESTS_FUZZ_ENTRY_READING_H

#include <tavlib/protocol/packet.h>

namespace tavtest {

/// Reads descriptor `index` of a packet into a record with wide (or else 8-bit) texts, and ends the program
/// unless result, error number and every field are what the packet's bytes call for.
void check_reading(const _TAVPACKET& packet, unsigned index, bool wide);

}  // namespace tavtest

#endif
