#include "platform/apple/AppleCodeSigning.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include "platform/apple/Conversions.h"

namespace korvan {
namespace {

constexpr OSStatus RequirementInvalid = -67052;

/// Owns one reference to a CoreFoundation object.
template <typename Base, typename Reference>
class Owner final : public Base {
 public:
  explicit Owner(Reference reference) : reference_(reference) {}
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  ~Owner() override { CFRelease(reference_); }

  [[nodiscard]] Reference get() const { return reference_; }

 private:
  const Reference reference_;
};

using AppleCode = Owner<CodeSigning::Code, SecCodeRef>;
using AppleRequirement = Owner<CodeSigning::Requirement, SecRequirementRef>;

}  // namespace

OSStatus AppleCodeSigning::copyGuest(std::int32_t processIdentifier,
                                     std::unique_ptr<Code>& code) const {
  NSDictionary* const attributes =
      @{(__bridge NSString*)kSecGuestAttributePid : @(processIdentifier)};
  SecCodeRef guest = nullptr;
  const OSStatus status = SecCodeCopyGuestWithAttributes(
      nullptr, (__bridge CFDictionaryRef)attributes, kSecCSDefaultFlags, &guest);
  code = guest != nullptr ? std::make_unique<AppleCode>(guest) : nullptr;
  return status;
}

OSStatus AppleCodeSigning::createRequirement(std::string_view text,
                                             std::unique_ptr<Requirement>& requirement) const {
  NSString* const source = toNSString(text);
  if (source == nil) {
    return RequirementInvalid;
  }
  SecRequirementRef compiled = nullptr;
  const OSStatus status =
      SecRequirementCreateWithString((__bridge CFStringRef)source, kSecCSDefaultFlags, &compiled);
  requirement = compiled != nullptr ? std::make_unique<AppleRequirement>(compiled) : nullptr;
  return status;
}

OSStatus AppleCodeSigning::checkValidity(const Code& code, const Requirement& requirement) const {
  return SecCodeCheckValidity(static_cast<const AppleCode&>(code).get(), kSecCSDefaultFlags,
                              static_cast<const AppleRequirement&>(requirement).get());
}

std::optional<std::string> AppleCodeSigning::errorMessage(OSStatus status) const {
  return stringOf((__bridge_transfer NSString*)SecCopyErrorMessageString(status, nullptr));
}

}  // namespace korvan
