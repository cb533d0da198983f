#include "tavsim/fault_rules.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "tavsim/input_error.h"

namespace tavsim {
namespace {

constexpr std::string_view fault_names[fault_kinds] = {"interim",   "error",   "delay",  "loss",
                                                       "duplicate", "reorder", "digest", "id",
                                                       "truncate",  "corrupt", "replay", "flood"};

struct WhenName {
  std::string_view name;
  FaultRule::When when;
};
constexpr WhenName when_names[] = {{"every", FaultRule::When::every},
                                   {"first", FaultRule::When::first},
                                   {"prob", FaultRule::When::probability}};

template <typename T>
bool parse_number(std::string_view text, T& value) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc{} && stop == end;
}

Fault parse_fault(std::string_view name) {
  const std::string_view* known = std::find(std::begin(fault_names), std::end(fault_names), name);
  if (known == std::end(fault_names)) throw InputError("no such fault: \"" + std::string(name) + "\"");
  return static_cast<Fault>(known - std::begin(fault_names));
}

FaultRule::When parse_when(std::string_view name) {
  for (const WhenName& known : when_names) {
    if (known.name == name) return known.when;
  }
  throw InputError("a fault strikes every:N, first:N or prob:P, not \"" + std::string(name) + "\"");
}

void parse_amount(std::string_view text, FaultRule& rule) {
  if (rule.when == FaultRule::When::probability) {
    const bool good = parse_number(text, rule.chance) && rule.chance >= 0 && rule.chance <= 1;
    if (!good) throw InputError("a probability is a number from 0 to 1, not \"" + std::string(text) + "\"");
    return;
  }
  const bool good = parse_number(text, rule.count) && rule.count > 0;
  if (!good) throw InputError("a count is a whole number from 1 on, not \"" + std::string(text) + "\"");
}

}  // namespace

std::string FaultSet::names() const {
  std::string names;
  for (std::size_t i = 0; i < fault_kinds; ++i) {
    if (!bits_.test(i)) continue;
    if (!names.empty()) names += ',';
    names += fault_names[i];
  }
  return names;
}

FaultRule parse_fault_rule(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::size_t colon = text.find(':');
  if (equals == std::string::npos || colon == std::string::npos || colon < equals) {
    throw InputError("a fault is written KIND=every:N, KIND=first:N or KIND=prob:P, not \"" + text + "\"");
  }
  const std::string_view view(text);
  FaultRule rule{parse_fault(view.substr(0, equals)), parse_when(view.substr(equals + 1, colon - equals - 1)),
                 0, 0};
  parse_amount(view.substr(colon + 1), rule);
  return rule;
}

// A number is drawn for each probability rule and request, whatever the other rules say. The standard's
// distributions differ between implementations, so the 53 bits are scaled here.
bool FaultSource::strikes(const FaultRule& rule) {
  switch (rule.when) {
    case FaultRule::When::every:
      return request_ % rule.count == 0;
    case FaultRule::When::first:
      return request_ <= rule.count;
    case FaultRule::When::probability:
      return static_cast<double>(random_() >> 11) * 0x1p-53 < rule.chance;
  }
  return false;
}

FaultSet FaultSource::next() {
  ++request_;
  FaultSet faults;
  for (const FaultRule& rule : rules_) {
    if (strikes(rule)) faults.add(rule.fault);
  }
  return faults;
}

}  // namespace tavsim
