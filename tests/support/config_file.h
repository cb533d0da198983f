#ifndef TAVLIB_TESTS_SUPPORT_CONFIG_FILE_H
#define TAVLIB_TESTS_SUPPORT_CONFIG_FILE_H

#include <string>
#include <vector>

#include "support/redirect.h"
#include "support/temp_folder.h"

namespace tavtest {

/// A server as the configuration file describes it.
struct ConfiguredServer {
  std::string address;     ///< Dotted quad: the name of the server's key.
  unsigned port;           ///< "Endpoint".
  std::string passphrase;  ///< "Passphrase"; written as it stands, the empty one included.
};

/// The files that the library is configured by, in temporary folders, for as long as the object lives (one at
/// a time).
///
/// The folder of the library's configuration file, "/.regfile" and the home directories of user 0 and of the
/// calling user, who becomes user 1000, are redirected. The two home directories stay the same for the whole
/// process, because the library keeps the two root keys that lie in them; each TestConfig starts with both
/// empty.
class TestConfig {
 public:
  /// No configuration file.
  TestConfig();

  /// One with these servers and, unless it is empty, the gateway's server.
  explicit TestConfig(const std::vector<ConfiguredServer>& servers, const std::string& gateway = "");

  /// Makes `content` the whole configuration file.
  void write(const std::string& content) const;

  /// The same from lines without their newlines.
  void write_lines(const std::vector<std::string>& lines) const;

  /// A key for each server below tavlib\Addresses, and "gwtav" in that key unless `gateway` is empty.
  void write_servers(const std::vector<ConfiguredServer>& servers, const std::string& gateway = "") const;

  /// The configuration file's content now.
  std::string content() const;

  /// The real paths behind the redirections.
  std::string path() const;
  static std::string machine_store();  ///< "/.regfile" in the home directory of user 0.
  static std::string user_store();     ///< The same of the calling user.
  std::string top_store() const;       ///< "/.regfile" at the top of the file system.

  /// Makes the fallback port "KS-TAV" the content of the machine-wide store.
  static void write_fallback_port(unsigned port);

 private:
  TempFolder folder_;
  PathRedirect config_;
  PathRedirect top_;
  UserRedirect user_;
  HomeRedirect machine_home_;
  HomeRedirect user_home_;
};

}  // namespace tavtest

#endif
