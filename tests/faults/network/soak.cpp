// Millions of look-ups over a hostile network, each answer checked, and the resident size watched.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "faults/network/soak_run.h"

namespace {

constexpr int exit_failed = 1;
constexpr int exit_bad_input = 2;

void add_options(CLI::App& app, tavtest::SoakOptions& options) {
  app.add_option("--lookups", options.lookups, "Look-ups to make")
      ->check(CLI::Range(std::uint64_t{20}, std::uint64_t{1} << 40))
      ->capture_default_str();
  app.add_option("--seed", options.seed, "Seed of addresses and faults")->capture_default_str();
  app.add_option("--max-growth", options.max_growth,
                 "KiB by which the resident size may grow after the warm-up")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  app.add_flag("--break-table", options.break_table, "Expect a user who is not there: the soak must fail");
  app.add_flag("--break-memory", options.break_memory, "Keep 1 KiB for each look-up: the soak must fail");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Looks users up over a hostile network, and fails when an answer is wrong or memory grows",
               "soak");
  tavtest::SoakOptions options;
  add_options(app, options);
  try {
    app.parse(argc, argv);
    return tavtest::SoakRun(options).run() ? 0 : exit_failed;
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::ParseError& bad) {
    std::cerr << "soak: " << bad.what() << "\n"
              << "usage: tavlib_soak [--lookups N] [--seed S] [--max-growth KIB]; all options: --help\n";
    return exit_bad_input;
  } catch (const std::exception& failure) {
    std::cerr << "soak: " << failure.what() << "\n";
    return exit_failed;
  }
}
