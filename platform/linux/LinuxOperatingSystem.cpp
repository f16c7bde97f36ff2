#include "platform/linux/LinuxOperatingSystem.h"

namespace korvan {

bool LinuxOperatingSystem::isAtLeast(OperatingSystemVersion version) const {
  return version_ >= version;
}

}  // namespace korvan
