#include "api/lookup_in_flight.h"

#include <cstddef>

namespace tavlib {

namespace {

constinit LookupInFlight* first = nullptr;
constinit LookupInFlight* last = nullptr;
constinit std::size_t given_up_count = 0;

}  // namespace

LookupInFlight::~LookupInFlight() {
  if (context_ == nullptr) return;
  if (given_up_) --given_up_count;
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

void LookupInFlight::give_up() {
  given_up_ = true;
  ++given_up_count;
}

bool LookupInFlight::any_given_up() {
  return given_up_count != 0;
}

LookupInFlight* LookupInFlight::oldest() {
  return first;
}

LookupInFlight* LookupInFlight::youngest() {
  return last;
}

}  // namespace tavlib
