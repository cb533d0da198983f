#include "tavsim/options.h"

#include <arpa/inet.h>

#include <CLI/CLI.hpp>

#include "tavsim/input_error.h"

namespace tavsim {
namespace {

constexpr const char* fault_help = R"(Faults:
  --fault KIND=every:N   strikes each Nth request
  --fault KIND=first:N   strikes the first N requests
  --fault KIND=prob:P    strikes a request with probability P (0 to 1, drawn with --seed)
  Only verified requests are counted. Kinds can be combined and repeated. The same options and the same
  requests give the same faults. KIND is one of
    interim    sends --interim-count interim replies first
    error      refuses the request with an error reply (with --final-after-error, the real reply follows)
    delay      sends the reply --delay-ms later; other replies do not wait for it
    loss       sends no reply
    duplicate  sends the reply twice
    reorder    holds the reply back until another one has been sent
    digest     spoils the reply's digest
    id         answers under another request id, with a right digest
    truncate   cuts the reply to --truncate-to bytes
    corrupt    flips one bit anywhere in the reply
    replay     sends one of the last 64 replies again first, whoever asked for it
    flood      sends --flood-count datagrams first: random bytes, and replies under guessed ids with wrong digests
  The other faults leave interim replies, replays and floods alone.

Entries:
  FILE is a JSON array of objects. Each needs "address" (dotted quad). It may have "user", "string2" and
  "string3" (texts), "data" (hex digits), "flag8" (true or false), and the numbers "tag", "word7" and "word9"
  to "word14". In replies, the server sets word13 itself: the position from which the next query of an
  enumeration continues. An added entry replaces the one with the same user and address. A query's first
  argument word selects the fields that must match its filter (bits 0x001 to 0x400, 0 for all entries). Texts
  match without regard to case.

Examples:
  tavsim --passphrase secret --entries users.json --port 5000 --trace
  tavsim --passphrase secret --fault loss=first:2 --fault duplicate=every:3
  tavsim --passphrase secret --fault delay=prob:0.1 --delay-ms 250 --fault interim=prob:0.5 --seed 7

tavsim prints "tavsim: listening on ADDRESS:PORT" once it serves. It ends on SIGTERM or SIGINT.
Exit codes: 0 stopped, 1 failed, 2 wrong argument or bad entries file.)";

// What the parser fills before it is checked and converted.
struct Raw {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;
  std::vector<std::string> rules;
  std::uint32_t interim_gap = 0;
  std::uint32_t delay = 100;
  std::uint32_t truncate_to = 0;
};

void add_server_options(CLI::App& app, Raw& raw, Options& options) {
  app.add_option("--address", raw.address, "Address to serve, inside 127.0.0.0/8")->capture_default_str();
  app.add_option("--port", raw.port, "UDP port; 0 takes a free one")->capture_default_str();
  app.add_option("--passphrase", options.passphrase,
                 "Pass phrase; the first 16 characters are used, by the cipher 5")
      ->required();
  app.add_option("--entries", options.entries_file, "JSON file with the entries to start with")
      ->type_name("FILE");
  app.add_option("--version-word", options.version, "Answer to a version query")->capture_default_str();
  app.add_option("--count", options.count, "Stop after this many verified requests; 0 for no limit")
      ->capture_default_str();
  app.add_flag("--trace", options.trace, "Print a line for each request and reply");
  app.add_flag("--trace-hex", options.trace_hex, "Print each received datagram in hex, too; implies --trace");
}

void add_fault_options(CLI::App& app, Raw& raw, Options& options) {
  app.add_option("--fault", raw.rules, "Add a fault, see below; repeatable")
      ->type_name("KIND=WHEN")
      ->allow_extra_args(false);
  app.add_option("--seed", options.seed, "Seed of the probabilities and of random bytes")
      ->capture_default_str();
  app.add_option("--interim-count", options.faults.interim_count, "Interim replies per interim fault")
      ->capture_default_str();
  app.add_option("--interim-gap-ms", raw.interim_gap, "Milliseconds after each interim reply")
      ->capture_default_str();
  app.add_option("--delay-ms", raw.delay, "Milliseconds of a delay fault")->capture_default_str();
  app.add_option("--truncate-to", raw.truncate_to,
                 "Bytes left by a truncate fault; half of the reply by default");
  app.add_option("--flood-count", options.faults.flood_count, "Datagrams per flood fault")
      ->capture_default_str();
  app.add_flag("--final-after-error", options.faults.final_after_error,
               "Send the real reply after an error fault's reply");
}

sockaddr_in loopback(const Raw& raw) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(raw.port);
  const bool good = inet_pton(AF_INET, raw.address.c_str(), &address.sin_addr) == 1 &&
                    ntohl(address.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
  if (!good) throw InputError("--address: must be inside 127.0.0.0/8, not \"" + raw.address + "\"");
  return address;
}

void convert(const CLI::App& app, const Raw& raw, Options& options) {
  options.address = loopback(raw);
  for (const std::string& rule : raw.rules) {
    options.rules.push_back(parse_fault_rule(rule));
  }
  options.faults.interim_gap = std::chrono::milliseconds(raw.interim_gap);
  options.faults.delay = std::chrono::milliseconds(raw.delay);
  if (app.count("--truncate-to") > 0) options.faults.truncate_to = raw.truncate_to;
  options.faults.seed = options.seed;
  options.trace = options.trace || options.trace_hex;
}

}  // namespace

Options parse_options(int argc, const char* const* argv) {
  CLI::App app("tavsim: a TAV server on loopback, for demos, tests and load", "tavsim");
  app.footer(fault_help);
  Options options;
  Raw raw;
  add_server_options(app, raw, options);
  add_fault_options(app, raw, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.help = app.help();
    return options;
  } catch (const CLI::ParseError& bad) {
    throw InputError(bad.what());
  }
  convert(app, raw, options);
  return options;
}

}  // namespace tavsim
