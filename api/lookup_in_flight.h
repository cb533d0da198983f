#ifndef TAVLIB_LOOKUP_IN_FLIGHT_H
#define TAVLIB_LOOKUP_IN_FLIGHT_H

#include <chrono>

class SSO_TAVContext;

namespace tavlib {

struct AttachedRequest;

/// A request's place in the list of the single-sign-on layer's look-ups in flight, from when it was sent
/// until it ends. The list stands in the order in which the look-ups were started, and belongs to the layer's
/// thread: requests that are no look-ups never touch it, so other threads may have theirs on other servers.
class LookupInFlight {
 public:
  LookupInFlight() = default;
  ~LookupInFlight();

  LookupInFlight(const LookupInFlight&) = delete;
  LookupInFlight& operator=(const LookupInFlight&) = delete;

  /// Appends `request`, in which this stands, as the one that `awaiting` sent now.
  void enter(SSO_TAVContext& awaiting, AttachedRequest& request);

  /// The look-up; null when this stands in no list.
  SSO_TAVContext* context() const { return context_; }
  AttachedRequest& request() const { return *request_; }
  std::chrono::steady_clock::time_point started() const { return started_; }

  /// The next younger look-up; null after the last.
  LookupInFlight* next() const { return next_; }

  /// The oldest look-up in flight, and the youngest; null when there is none.
  static LookupInFlight* oldest();
  static LookupInFlight* youngest();

  bool of_layer{false};  ///< Made by SSO_GetUserByAddrAsync: the layer deletes it and no host is handed it.
  bool given_up{false};  ///< Expired, but its callback is still to come.

 private:
  SSO_TAVContext* context_{nullptr};
  AttachedRequest* request_{nullptr};
  std::chrono::steady_clock::time_point started_{};
  LookupInFlight* previous_{nullptr};
  LookupInFlight* next_{nullptr};
};

}  // namespace tavlib

#endif
