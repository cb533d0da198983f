#ifndef TAVSIM_FAULT_RULES_H
#define TAVSIM_FAULT_RULES_H

#include <bitset>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tavsim {

enum class Fault {
  interim,
  error,
  delay,
  loss,
  duplicate,
  reorder,
  digest,
  id,
  truncate,
  corrupt,
  replay,
  flood
};
constexpr std::size_t fault_kinds = 12;

/// The faults that strike one request.
class FaultSet {
 public:
  bool has(Fault fault) const { return bits_.test(static_cast<std::size_t>(fault)); }
  void add(Fault fault) { bits_.set(static_cast<std::size_t>(fault)); }

  /// "delay,loss", or "" for none.
  std::string names() const;

 private:
  std::bitset<fault_kinds> bits_;
};

/// When one kind of fault strikes.
struct FaultRule {
  enum class When { every, first, probability };

  Fault fault;
  When when;
  std::uint64_t count;  ///< For `every` and `first`.
  double chance;        ///< For `probability`: 0 to 1.
};

/// Reads "KIND=every:N", "KIND=first:N" or "KIND=prob:P". Throws InputError.
FaultRule parse_fault_rule(const std::string& text);

/// Decides for each request in turn which faults strike. The same rules and seed give the same decisions.
class FaultSource {
 public:
  FaultSource(std::vector<FaultRule> rules, std::uint64_t seed) : rules_(std::move(rules)), random_(seed) {}

  FaultSet next();

 private:
  bool strikes(const FaultRule& rule);

  std::vector<FaultRule> rules_;
  std::mt19937_64 random_;
  std::uint64_t request_ = 0;
};

}  // namespace tavsim

#endif
