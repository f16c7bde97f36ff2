#import "platform/apple/RecordingExtensionContext_testing.h"

@implementation RecordingExtensionContext

- (void)completeExtensionConfigurationRequest {
  self.configurationCompleted = YES;
}

- (void)completeAssertionRequestWithSelectedPasskeyCredential:
            (ASPasskeyAssertionCredential*)credential
                                            completionHandler:
                                                (void (^)(BOOL expired))completionHandler {
  [self raiseIfTold];
  self.assertionCredential = credential;
  self.handlerGiven = completionHandler != nil;
}

- (void)completeRegistrationRequestWithSelectedPasskeyCredential:
            (ASPasskeyRegistrationCredential*)credential
                                               completionHandler:
                                                   (void (^)(BOOL expired))completionHandler {
  [self raiseIfTold];
  self.registrationCredential = credential;
  self.handlerGiven = completionHandler != nil;
}

- (void)cancelRequestWithError:(NSError*)error {
  [self raiseIfTold];
  self.error = error;
}

- (void)raiseIfTold {
  if (self.exception != nil) {
    @throw self.exception;
  }
}

@end
