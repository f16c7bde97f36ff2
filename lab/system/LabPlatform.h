#pragma once

#include <memory>

#include <glib.h>

#include "lab/system/CountedQueues.h"
#include "lab/system/LabSettings.h"
#include "lab/system/LabWorkspace.h"
#include "lab/system/Patience.h"
#include "lab/system/PatientServices.h"
#include "platform/linux/LinuxAppGroupContainers.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxLocalSockets.h"
#include "platform/linux/LinuxLocalizedStrings.h"
#include "platform/linux/LinuxOperatingSystem.h"
#include "platform/linux/LinuxQueues.h"
#include "platform/linux/codesigning/LinuxCodeSigning.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab {

/// The services of the system that the lab plays, except those that belong to one request.
struct LabPlatform {
  /// Throws std::invalid_argument when the trust anchor is not a certificate.
  explicit LabPlatform(const LabSettings& settings);

  // Later members depend on earlier ones.
  std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> mainContext;
  LinuxQueues systemQueues;
  CountedQueues queues;
  LinuxAppGroupContainers appGroupContainers;
  Patience patience;
  LinuxClock systemClock;
  PatientClock clock;
  LinuxCodeSigning codeSigning;
  LinuxLocalSockets systemSockets;
  PatientSockets localSockets;
  LinuxLocalizedStrings localizedStrings;
  LinuxOperatingSystem operatingSystem;
  LinuxPropertyListSerialization propertyLists;
  LabWorkspace workspace;
};

}  // namespace korvan::lab
