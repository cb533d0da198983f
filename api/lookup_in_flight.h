#ifndef TAVLIB_LOOKUP_IN_FLIGHT_H
#define TAVLIB_LOOKUP_IN_FLIGHT_H

#include <chrono>

class SSO_TAVContext;

namespace tavlib {

struct AttachedRequest;

/// A request's place in the list of the single-sign-on layer's look-ups in flight, from when it was sent
/// until it ends.
///
/// The list is in the order in which the look-ups were started, and belongs to the layer's thread. Requests
/// that are not look-ups never touch it, so other threads may send such requests on other servers.
class LookupInFlight {
 public:
  LookupInFlight() = default;
  ~LookupInFlight();

  LookupInFlight(const LookupInFlight&) = delete;
  LookupInFlight& operator=(const LookupInFlight&) = delete;

  /// Appends `request`, of which this is a part, as the one that `awaiting` has just sent.
  void enter(SSO_TAVContext& awaiting, AttachedRequest& request);

  /// Marks the look-up as one that has expired and whose callback is still to be called.
  void give_up();
  bool given_up() const { return given_up_; }

  /// Whether any look-up in the list is marked so.
  static bool any_given_up();

  /// The look-up; null when this is in no list.
  SSO_TAVContext* context() const { return context_; }
  AttachedRequest& request() const { return *request_; }
  std::chrono::steady_clock::time_point started() const { return started_; }

  /// The look-up started next after this one; null after the last.
  LookupInFlight* next() const { return next_; }

  /// The oldest look-up in flight, and the youngest; null when there is none.
  static LookupInFlight* oldest();
  static LookupInFlight* youngest();

  bool of_layer{false};  ///< Made by SSO_GetUserByAddrAsync: the layer deletes it, and hosts never see it.

 private:
  SSO_TAVContext* context_{nullptr};
  AttachedRequest* request_{nullptr};
  std::chrono::steady_clock::time_point started_{};
  LookupInFlight* previous_{nullptr};
  LookupInFlight* next_{nullptr};
  bool given_up_{false};
};

}  // namespace tavlib

#endif
