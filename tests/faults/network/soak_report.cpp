#include "faults/network/soak_report.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace tavtest {
namespace {

constexpr unsigned most_details = 10;

// In KiB.
long resident_size() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  throw std::runtime_error("no VmRSS in /proc/self/status");
}

}  // namespace

SoakReport::SoakReport(std::uint64_t goal) : goal_(goal), warm_up_(goal / 20), next_tenth_(goal / 10) {
  std::printf("%-8s %12s %9s %11s %10s\n", "", "look-ups", "seconds", "per second", "VmRSS KiB");
  row("start");
}

void SoakReport::count(Verdict verdict, const std::string& detail) {
  ++ended_;
  const std::uint64_t so_far = ++counts_.at(static_cast<std::size_t>(verdict));
  if (verdict == Verdict::wrong && so_far <= most_details) std::printf("WRONG: %s\n", detail.c_str());
  if (ended_ == warm_up_) {
    row("warm");
    rss_warm_ = rss_now_;
  }
  if (ended_ == next_tenth_) {
    ++tenths_;
    row((std::to_string(tenths_) + "/10").c_str());
    next_tenth_ = goal_ * (tenths_ + 1) / 10;
  }
}

bool SoakReport::conclude(long limit) const {
  std::printf("\n");
  for (std::size_t i = 0; i < verdict_kinds; ++i) {
    std::printf("%-16s %12llu  %6.2f %%\n", verdict_names.at(i),
                static_cast<unsigned long long>(counts_.at(i)),
                100.0 * static_cast<double>(counts_.at(i)) / static_cast<double>(ended_));
  }
  const bool grew = !print_growth(limit);
  const bool most_answered = count_of(Verdict::right) + count_of(Verdict::nobody) > ended_ / 2;
  if (!most_answered) std::printf("most look-ups were not answered\n");
  return !grew && most_answered && count_of(Verdict::wrong) == 0;
}

bool SoakReport::print_growth(long limit) const {
  const long growth = resident_size() - rss_warm_.value_or(rss_start_);
  std::printf("\nresident size after the warm-up: %+ld KiB, at most %ld allowed\n", growth, limit);
  return growth <= limit;
}

void SoakReport::row(const char* name) {
  rss_now_ = resident_size();
  if (ended_ == 0) rss_start_ = rss_now_;
  const double time = seconds();
  std::printf("%-8s %12llu %9.1f %11.0f %10ld\n", name, static_cast<unsigned long long>(ended_), time,
              time > 0 ? static_cast<double>(ended_) / time : 0, rss_now_);
  std::fflush(stdout);
}

double SoakReport::seconds() const {
  return std::chrono::duration<double>(Clock::now() - started_).count();
}

}  // namespace tavtest
