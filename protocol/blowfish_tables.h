#ifndef TAVLIB_BLOWFISH_TABLES_H
#define TAVLIB_BLOWFISH_TABLES_H

#include <array>
#include <cstdint>

namespace tavlib {

/// Blowfish's published initial tables: the fractional hexadecimal digits of pi, eight to a word, the P-array
/// first.
extern const std::array<std::uint32_t, 18> kBlowfishP;
extern const std::array<std::array<std::uint32_t, 256>, 4> kBlowfishS;

}  // namespace tavlib

#endif
