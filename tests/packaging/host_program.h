#ifndef TAVLIB_TESTS_PACKAGING_HOST_PROGRAM_H
#define TAVLIB_TESTS_PACKAGING_HOST_PROGRAM_H

#include <gtest/gtest.h>

#include <string>

#include "conformance/tavsim.h"
#include "support/temp_folder.h"

namespace tavtest {

struct Outcome {
  int code;            ///< -1 when a signal ended it.
  std::string output;  ///< Both streams.
};

/// Runs a shell command line.
Outcome run(const std::string& command);

/// A folder with the configuration of a host, and the server that it names, which has the sample entries.
class HostProgram : public testing::Test {
 protected:
  /// The configuration file's content.
  std::string configuration() const;

  /// Makes the folder's configuration file.
  void configure() const { write_file(folder_.file("tavlib.conf"), configuration()); }

  /// Runs a program that is linked with the shared library, or loads it. The folder takes the place of the
  /// configuration file's and of every home directory.
  Outcome run_redirected(const std::string& command) const;

  TempFolder folder_;
  Tavsim sim_{TavsimOptions{"127.0.0.1", "secret", sample_entries}};
};

}  // namespace tavtest

#endif
