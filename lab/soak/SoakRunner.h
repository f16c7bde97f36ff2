#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "lab/soak/SoakFlight.h"
#include "lab/soak/SoakRequest.h"
#include "lab/soak/SoakSite.h"
#include "lab/soak/SoakSummary.h"
#include "lab/system/LabPlatform.h"

namespace korvan::lab::soak {

/// Keeps many requests of a plan in flight, over several host applications. Main thread.
class SoakRunner {
 public:
  static constexpr std::size_t MaxInFlight = 32;
  static constexpr std::size_t SiteCount = 4;

  /// The hosts' files go into `directory`. Throws std::runtime_error when they cannot be created.
  SoakRunner(const std::filesystem::path& directory, std::uint64_t seed,
             const LabSettings& settings);

  /// Makes requests until `end`, in now()'s time, and returns when all are over. Numbering
  /// continues from the last round. Counts in `summary`, and returns a sentence for each thing that
  /// was wrong.
  [[nodiscard]] std::vector<std::string> runRound(std::int64_t end, SoakSummary& summary);

 private:
  struct Place {
    explicit Place(const std::filesystem::path& directory) : site(directory) {}

    SoakSite site;
    bool isUp = false;
    std::vector<SoakEvidence> done;
  };

  void startRequest();
  void finishRequests();
  [[nodiscard]] Place& placeOf(const SoakRequest& request);

  SoakPlan plan_;
  LabPlatform platform_;
  std::list<Place> places_;
  std::list<SoakFlight> flights_;
};

}  // namespace korvan::lab::soak
