#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <glib.h>

#include "platform/CredentialRequest.h"
#include "platform/Data.h"
#include "platform/ExtensionContext.h"
#include "platform/Services.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeViews.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxLocalSockets.h"
#include "platform/linux/LinuxLocalizedStrings.h"
#include "platform/linux/LinuxOperatingSystem.h"
#include "platform/linux/LinuxQueues.h"
#include "platform/linux/LinuxWorkspace.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::bench {

/// Whole silent sign-ins through the real platform, but for the code-signature check, which trusts
/// every peer: from the entry point to the platform's completion, each on a controller of its own.
class SignInBench {
 public:
  /// `directory` holds the host's socket.
  explicit SignInBench(const std::string& directory);

  /// Makes one sign-in. Aborts when it does not end in a credential.
  void signIn();

  /// The body of the request that signIn() sends.
  [[nodiscard]] Data encodedRequest() const;

  /// The body of an answer that signIn() takes.
  [[nodiscard]] static Data encodedAnswer();

 private:
  class Context : public ExtensionContext {
   public:
    void completeExtensionConfigurationRequest() override;
    void completeAssertionRequest(const PasskeyAssertionCredential& credential) override;
    void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) override;
    void cancelRequest(const Error& error) override;

    std::size_t completed = 0;
  };

  std::shared_ptr<PasskeyCredentialRequest> request_;
  Context extensionContext_;
  LinuxAppGroupContainers appGroupContainers_;
  LinuxClock clock_;
  FakeCodeSigning codeSigning_;
  LinuxLocalSockets localSockets_;
  LinuxLocalizedStrings localizedStrings_;
  LinuxOperatingSystem operatingSystem_;
  LinuxPropertyListSerialization propertyLists_;
  LinuxQueues queues_;
  FakeViews views_;
  LinuxWorkspace workspace_;
  std::shared_ptr<const Services> services_;
};

}  // namespace korvan::bench
