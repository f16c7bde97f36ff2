#include "lab/browser/KnownIdentities.h"

#include <algorithm>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"

namespace korvan::lab {
namespace {

std::optional<KnownIdentity> identityIn(const std::string& line) {
  const nlohmann::json json = nlohmann::json::parse(line, nullptr, false);
  try {
    return KnownIdentity{.relyingParty = json.at("relyingParty"),
                         .credentialID = json.at("credentialID"),
                         .userHandle = json.at("userHandle"),
                         .userName = json.at("userName")};
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  }
}

bool isAmong(const KnownIdentity& identity, const AllowedCredentials& allowed) {
  return identity.relyingParty == allowed.relyingParty &&
         std::ranges::find(allowed.credentialIDs, identity.credentialID) !=
             allowed.credentialIDs.end();
}

}  // namespace

void KnownIdentities::add(const KnownIdentity& identity) const {
  const std::string line = nlohmann::json{{"relyingParty", identity.relyingParty},
                                          {"credentialID", identity.credentialID},
                                          {"userHandle", identity.userHandle},
                                          {"userName", identity.userName}}
                               .dump() +
                           "\n";
  constexpr int OwnerOnly = 0600;
  const Descriptor file(
      ::open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, OwnerOnly));
  // In one piece: other processes write lines too.
  requireSystem(::write(file.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()),
                "writing " + file_.string());
}

std::optional<KnownIdentity> KnownIdentities::find(const AllowedCredentials& allowed) const {
  std::optional<KnownIdentity> newest;
  std::ifstream lines(file_);
  for (std::string line; std::getline(lines, line);) {
    if (auto identity = identityIn(line); identity && isAmong(*identity, allowed)) {
      newest = std::move(identity);
    }
  }
  return newest;
}

}  // namespace korvan::lab
