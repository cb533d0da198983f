#include "packaging/host_program.h"

#include <sys/wait.h>

#include <cstdio>

namespace tavtest {

Outcome run(const std::string& command) {
  FILE* const output = popen((command + " 2>&1").c_str(), "r");
  if (output == nullptr) return {-1, "popen failed"};
  Outcome outcome{};
  for (int c = fgetc(output); c != EOF; c = fgetc(output))
    outcome.output += static_cast<char>(c);
  const int status = pclose(output);
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

std::string HostProgram::configuration() const {
  const ConfiguredServer& server = sim_.configured();
  return "[tavlib\\Addresses\\]\ngwtav=\"" + server.address + "\"\n[tavlib\\Addresses\\" + server.address +
         "\\]\nEndpoint=" + std::to_string(server.port) + "\nPassphrase=\"" + server.passphrase + "\"\n";
}

// The library that is put in front is told to AddressSanitizer, which otherwise insists on being the first.
Outcome HostProgram::run_redirected(const std::string& command) const {
  return run("ASAN_OPTIONS=\"$ASAN_OPTIONS:verify_asan_link_order=0\" " PRELOAD_VARIABLE "='" REDIRECT_LIBRARY
             "' TAVTEST_FOLDER='" +
             folder_.path().string() + "' " + command);
}

}  // namespace tavtest
