#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// Records what it is told, instead of acting on it.
@interface RecordingExtensionContext : ASCredentialProviderExtensionContext
@property(nonatomic) BOOL configurationCompleted;
@property(nonatomic, nullable) ASPasskeyAssertionCredential* assertionCredential;
@property(nonatomic, nullable) ASPasskeyRegistrationCredential* registrationCredential;
@property(nonatomic, nullable) NSError* error;
@end
