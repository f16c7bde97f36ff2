#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "channel/ProviderMessage.h"
#include "lab/check/Check.h"
#include "platform/Data.h"

namespace korvan::lab::check {

class CheckContext;

/// A passkey that the host has made for a run.
struct CheckPasskey {
  ProviderMessage request;  ///< the registration
  ProviderMessage answer;
  std::string relyingParty;
  std::string userName;
  Data userHandle;
  Data credentialID;  ///< empty when the answer gives none
};

/// The passkeys of a run. Each is made when it is asked for first, with the user's consent when a
/// person attends, and silently otherwise. The references stay valid until forget().
///
/// Each function that makes one throws a CheckEnd "skipped" that says why when the host makes none.
class CheckPasskeys {
 public:
  explicit CheckPasskeys(CheckContext& context) : context_(context) {}

  /// The registration of first(), whatever the host answered. Throws a CheckEnd "failed" when it
  /// did not.
  const CheckPasskey& firstRegistration();

  // Two of different users at one relying party, and one at another.
  const CheckPasskey& first();
  const CheckPasskey& second();
  const CheckPasskey& other();

  /// One more, of a user with a new random handle, to be changed or removed by a check.
  const CheckPasskey& make(std::string_view relyingParty, std::string_view userName);

  /// A new passkey of the same user, which takes the older one's place.
  const CheckPasskey& makeAgain(const CheckPasskey& older);

  /// Has removeAll() remove what a registration of a check's own has made, if anything.
  void remember(const ProviderMessage& request, const ProviderMessage& answer);

  /// Reports all as unknown, and that their users have none, so that the host can remove them, by
  /// one report or the other. A host need not answer that.
  void removeAll();

  /// The host may have lost them. Those that it has not are still removed by removeAll().
  void forget();

 private:
  struct Made {
    std::string relyingParty;
    Data userHandle;
    Data credentialID;  ///< empty when the answer gave none
  };

  const CheckPasskey& ask(std::string_view relyingParty, std::string_view userName,
                          const Data& userHandle);

  CheckContext& context_;
  std::deque<CheckPasskey> passkeys_;
  std::deque<Made> made_;
  const CheckPasskey* first_ = nullptr;
  /// Why first_ got no answer. It is not asked for again.
  std::optional<CheckEnd> unanswered_;
  const CheckPasskey* second_ = nullptr;
  const CheckPasskey* other_ = nullptr;
};

}  // namespace korvan::lab::check
