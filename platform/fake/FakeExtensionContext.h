#pragma once

#include <utility>
#include <variant>
#include <vector>

#include "platform/ExtensionContext.h"
#include "platform/fake/FakeQueues.h"

namespace korvan {

/// Records every time that the request is ended.
class FakeExtensionContext : public ExtensionContext {
 public:
  struct ConfigurationCompleted {
    friend bool operator==(const ConfigurationCompleted&, const ConfigurationCompleted&) = default;
  };
  using Ending = std::variant<ConfigurationCompleted, PasskeyAssertionCredential,
                              PasskeyRegistrationCredential, Error>;

  explicit FakeExtensionContext(const FakeQueues& queues) : queues_(queues) {}

  void completeExtensionConfigurationRequest() override { end(ConfigurationCompleted()); }
  void completeAssertionRequest(const PasskeyAssertionCredential& credential) override {
    end(credential);
  }
  void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) override {
    end(credential);
  }
  void cancelRequest(const Error& error) override { end(error); }

  std::vector<Ending> endings;
  /// Whether all endings came on the main thread.
  bool allOnMain = true;

 private:
  void end(Ending ending) {
    allOnMain = allOnMain && queues_.isOnMain();
    endings.push_back(std::move(ending));
  }

  const FakeQueues& queues_;
};

}  // namespace korvan
