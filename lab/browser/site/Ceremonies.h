#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "lab/browser/site/AnswerDetails.h"
#include "lab/site/Finding.h"
#include "lab/site/RegisteredPasskey.h"
#include "platform/Data.h"

namespace korvan::lab {

/// The page that posts.
struct PostingPage {
  std::string origin;
  /// It is in a frame of another origin's.
  bool embedded = false;
};

/// The relying party of the lab's web site, "localhost": makes the options of requests, judges the
/// credentials that pages get, and remembers the passkeys that it has accepted.
///
/// It speaks JSON as pages do. What a page sends may be anything: members throw
/// nlohmann::json::exception or std::invalid_argument that says what is wrong with it.
class Ceremonies {
 public:
  /// The options for navigator.credentials.create() or get(), as
  /// PublicKeyCredential.parseCreationOptionsFromJSON() and parseRequestOptionsFromJSON() read
  /// them. `wish` is {"ceremony": "create" or "get", "userVerification": "preferred", …,
  /// "credentials": those to exclude or to allow, "conditional": true for a registration without
  /// the user}.
  [[nodiscard]] nlohmann::json begin(const nlohmann::json& wish);

  /// Judges the answer {"challenge": the options', "credential": what toJSON() of the credential
  /// gives}. Each challenge is answered once. Returns {"verified": …, "findings": [{"verdict",
  /// "words", "wanted", "got", "hint"}, …], "details": [[name, value], …]}.
  [[nodiscard]] nlohmann::json finish(const nlohmann::json& answer, const PostingPage& page);

  /// [{"credentialID": …, "userHandle": …, "userName": …}, …], the oldest first.
  [[nodiscard]] nlohmann::json passkeys() const;

 private:
  struct Request {
    std::string challenge;
    bool creates = false;
    bool conditional = false;
    std::string userVerification;
    std::vector<Data> credentials;
    std::string userName;
    Data userHandle;
  };
  struct StoredPasskey {
    RegisteredPasskey passkey;
    std::string userName;
  };

  [[nodiscard]] nlohmann::json creationOptions(Request& request);
  [[nodiscard]] Request take(const std::string& challenge);
  // These add to `findings`, and remember the passkey when nothing failed in all.
  [[nodiscard]] FindingList judgeNewPasskey(const Request& request, const WebCredential& credential,
                                            FindingList findings);
  [[nodiscard]] FindingList judgeSignIn(const Request& request, const WebCredential& credential,
                                        FindingList findings);

  std::vector<Request> requests_;
  std::vector<StoredPasskey> passkeys_;
  std::size_t visitors_ = 0;
};

}  // namespace korvan::lab
