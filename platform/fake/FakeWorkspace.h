#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Workspace.h"
#include "platform/fake/FakeQueues.h"

namespace korvan {

/// A workspace that opens nothing, with results that the test sets.
class FakeWorkspace : public Workspace {
 public:
  explicit FakeWorkspace(const FakeQueues& queues) : queues_(queues) {}

  [[nodiscard]] bool openURL(std::string_view url) const override {
    openedURLs.emplace_back(url);
    openedOnMain = queues_.isOnMain();
    if (onOpen) {
      onOpen();
    }
    return opens;
  }
  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override {
    countedIdentifiers.emplace_back(bundleIdentifier);
    countedOnMain = queues_.isOnMain();
    return running;
  }

  bool opens = true;
  std::size_t running = 0;
  std::function<void()> onOpen;

  mutable std::vector<std::string> openedURLs;
  mutable std::vector<std::string> countedIdentifiers;
  mutable bool openedOnMain = false;
  mutable bool countedOnMain = false;

 private:
  const FakeQueues& queues_;
};

}  // namespace korvan
