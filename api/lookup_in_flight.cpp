#include "api/lookup_in_flight.h"

namespace tavlib {

namespace {

constinit LookupInFlight* first = nullptr;
constinit LookupInFlight* last = nullptr;

}  // namespace

LookupInFlight::~LookupInFlight() {
  if (context_ == nullptr) return;
  (previous_ == nullptr ? first : previous_->next_) = next_;
  (next_ == nullptr ? last : next_->previous_) = previous_;
}

void LookupInFlight::enter(SSO_TAVContext& awaiting, AttachedRequest& request) {
  context_ = &awaiting;
  request_ = &request;
  started_ = std::chrono::steady_clock::now();
  previous_ = last;
  (last == nullptr ? first : last->next_) = this;
  last = this;
}

LookupInFlight* LookupInFlight::oldest() {
  return first;
}

LookupInFlight* LookupInFlight::youngest() {
  return last;
}

}  // namespace tavlib
