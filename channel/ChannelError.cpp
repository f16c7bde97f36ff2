#include "channel/ChannelError.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace korvan {
namespace {

std::string stepFailed(std::string_view step, std::string_view text) {
  return std::string(step).append(" failed: ").append(text);
}

Error describedError(ErrorDomain domain, std::int64_t code, std::string description) {
  return {.domain = domain,
          .code = code,
          .userInfo = ErrorUserInfo{.localizedDescription = std::move(description)}};
}

}  // namespace

Error posixError(int code, std::string description) {
  return describedError(ErrorDomain::posix, code, std::move(description));
}

Error systemCallError(std::string_view step) {
  const int code = errno;
  // strerror's text, without its shared buffer.
  return posixError(code, stepFailed(step, std::generic_category().message(code)));
}

Error statusError(const CodeSigning& codeSigning, std::string_view step, OSStatus status) {
  const auto text = codeSigning.errorMessage(status);
  return describedError(
      ErrorDomain::osStatus, status,
      stepFailed(step, text ? *text : std::string("OSStatus ") + std::to_string(status)));
}

}  // namespace korvan
