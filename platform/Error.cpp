#include "platform/Error.h"

namespace korvan {

std::string_view nameOfErrorDomain(ErrorDomain domain) noexcept {
  switch (domain) {
    case ErrorDomain::posix:
      return "NSPOSIXErrorDomain";
    case ErrorDomain::osStatus:
      return "NSOSStatusErrorDomain";
    case ErrorDomain::extension:
      return "ASExtensionErrorDomain";
  }
  return {};
}

}  // namespace korvan
