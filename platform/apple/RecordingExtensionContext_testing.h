#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// Keeps what it was told, where the platform would act on it.
@interface RecordingExtensionContext : ASCredentialProviderExtensionContext
@property(nonatomic) BOOL configurationCompleted;
@property(nonatomic, nullable) ASPasskeyAssertionCredential* assertionCredential;
@property(nonatomic, nullable) ASPasskeyRegistrationCredential* registrationCredential;
@property(nonatomic, nullable) NSError* error;
@end
