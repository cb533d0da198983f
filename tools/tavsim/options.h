#ifndef TAVSIM_OPTIONS_H
#define TAVSIM_OPTIONS_H

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tavsim/fault_injector.h"
#include "tavsim/fault_rules.h"

namespace tavsim {

/// What the command line asks for.
struct Options {
  sockaddr_in address{};
  std::string entries_file;  ///< Empty: no entries at first.
  std::string passphrase;
  std::uint32_t version = 1;
  std::vector<FaultRule> rules;
  FaultSettings faults;
  std::uint64_t seed = 1;
  bool trace = false;
  bool trace_hex = false;
  std::uint64_t count = 0;  ///< Requests to serve; 0 for no limit.
  std::string help;         ///< Not empty: print it and end.
};

/// Reads the command line. Throws InputError.
Options parse_options(int argc, const char* const* argv);

}  // namespace tavsim

#endif
