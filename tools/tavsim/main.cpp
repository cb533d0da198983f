#include <csignal>
#include <exception>
#include <iostream>

#include "tavsim/entries_file.h"
#include "tavsim/input_error.h"
#include "tavsim/options.h"
#include "tavsim/server.h"

namespace tavsim {
namespace {

constexpr int exit_failed = 1;
constexpr int exit_bad_input = 2;

void serve(const Options& options) {
  Store store(options.entries_file.empty() ? std::vector<Entry>{} : load_entries(options.entries_file));
  const Trace trace(std::cout, options.trace, options.trace_hex);
  Handler handler(Crypto(options.passphrase), Responder(std::move(store), options.version),
                  FaultSource(options.rules, options.seed), options.faults, trace);
  Server server(options.address, std::move(handler), options.count, trace);
  std::cout << "tavsim: listening on " << describe(server.address()) << std::endl;
  server.run();
}

int run(int argc, const char* const* argv) {
  try {
    const Options options = parse_options(argc, argv);
    if (options.help.empty()) {
      serve(options);
    } else {
      std::cout << options.help;
    }
    return 0;
  } catch (const InputError& bad) {
    std::cerr << "tavsim: " << bad.what() << "\n"
              << "usage: tavsim --passphrase TEXT [--address 127.x.x.x] [--port N] [--entries FILE]\n"
              << "              [--fault KIND=WHEN]... [--trace]; all options: tavsim --help\n";
    return exit_bad_input;
  } catch (const std::exception& failure) {
    std::cerr << "tavsim: " << failure.what() << "\n";
    return exit_failed;
  }
}

}  // namespace
}  // namespace tavsim

int main(int argc, char** argv) {
  // A reader of the trace that goes away does not end the server.
  std::signal(SIGPIPE, SIG_IGN);
  return tavsim::run(argc, argv);
}
