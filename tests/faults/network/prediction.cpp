#include "faults/network/prediction.h"

namespace tavtest {
namespace {

using tavsim::Fault;

Verdict end_under(const tavsim::FaultSet& faults, Verdict undisturbed) {
  if (faults.has(Fault::loss) || faults.has(Fault::id) || faults.has(Fault::truncate)) return Verdict::lost;
  if (faults.has(Fault::error)) return Verdict::error_reply;  // its digest is not looked at
  return faults.has(Fault::digest) ? Verdict::bad_digest : undisturbed;
}

}  // namespace

void Prediction::add(Verdict undisturbed, bool waits) {
  const tavsim::FaultSet faults = source_.next();
  ends_.push_back(end_under(faults, undisturbed));
  if (!faults.has(Fault::loss)) reorder(faults, waits);
}

// Any other reply, a spoilt one included, sets the held one free.
void Prediction::reorder(const tavsim::FaultSet& faults, bool waits) {
  const bool held = faults.has(Fault::reorder) && !holding_;
  holding_ = held;
  if (!held) return;
  held_ = ends_.size() - 1;
  held_waits_ = waits;
  if (waits) ends_[held_] = Verdict::lost;
}

const std::vector<Verdict>& Prediction::ends() {
  if (holding_ && !held_waits_) ends_[held_] = Verdict::lost;
  return ends_;
}

}  // namespace tavtest
