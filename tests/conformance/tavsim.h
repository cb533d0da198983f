#ifndef TAVLIB_TESTS_CONFORMANCE_TAVSIM_H
#define TAVLIB_TESTS_CONFORMANCE_TAVSIM_H

#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/config_file.h"
#include "support/temp_folder.h"
#include "tools/tavsim_process.h"

namespace tavtest {

/// How a tavsim process is started.
struct TavsimOptions {
  std::string address = "127.0.0.1";
  std::string passphrase = "secret";
  std::string entries = "[]";               ///< The content of its entries file.
  std::vector<std::string> arguments = {};  ///< Further ones.
};

/// A TAV server in a process of its own, on a free port. It is stopped with SIGTERM at the end and must then
/// exit with 0.
class Tavsim {
 public:
  explicit Tavsim(const TavsimOptions& options = {});
  ~Tavsim();

  Tavsim(const Tavsim&) = delete;
  Tavsim& operator=(const Tavsim&) = delete;

  const ConfiguredServer& configured() const { return configured_; }
  unsigned long number() const;  ///< Its address, as inet_addr gives it.

  /// The next datagram that it received, as it came. Needs the argument "--trace-hex".
  Bytes next_datagram();

  /// The next line of its trace that tells of a verified request, from the operation's name on. Needs
  /// "--trace".
  std::string next_request();

  /// Every such line that was not asked for yet. Stops the server.
  std::vector<std::string> stop();

 private:
  std::string next_line_with(const std::string& text);

  TempFolder folder_;
  ConfiguredServer configured_;
  TavsimProcess process_;
  bool running_ = true;
};

/// Four users; "10.1.0.14" is nobody's although there is an entry.
extern const char* const sample_entries;

}  // namespace tavtest

#endif
