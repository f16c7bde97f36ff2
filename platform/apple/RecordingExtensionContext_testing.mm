#import "platform/apple/RecordingExtensionContext_testing.h"

@implementation RecordingExtensionContext

- (void)completeExtensionConfigurationRequest {
  self.configurationCompleted = YES;
}

- (void)completeAssertionRequestWithSelectedPasskeyCredential:
            (ASPasskeyAssertionCredential*)credential
                                            completionHandler:(void (^)(BOOL expired))__unused
    completionHandler {
  self.assertionCredential = credential;
}

- (void)completeRegistrationRequestWithSelectedPasskeyCredential:
            (ASPasskeyRegistrationCredential*)credential
                                               completionHandler:(void (^)(BOOL expired))__unused
    completionHandler {
  self.registrationCredential = credential;
}

- (void)cancelRequestWithError:(NSError*)error {
  self.error = error;
}

@end
