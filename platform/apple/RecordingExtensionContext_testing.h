#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// Records what it is told, instead of acting on it.
@interface RecordingExtensionContext : ASCredentialProviderExtensionContext
@property(nonatomic) BOOL configurationCompleted;
@property(nonatomic, nullable) ASPasskeyAssertionCredential* assertionCredential;
@property(nonatomic, nullable) ASPasskeyRegistrationCredential* registrationCredential;
/// Whether a completion came with a handler.
@property(nonatomic) BOOL handlerGiven;
@property(nonatomic, nullable) NSError* error;
/// If set, completions and cancellations raise it.
@property(nonatomic, nullable) NSException* exception;
@end
