#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// The extension's principal class, as Info.plist names it: the platform makes one object for each
/// request and calls one entry point of it. Each is handed on to the
/// korvan::CredentialProviderViewController that the object owns; nothing is decided here.
///
/// An argument that is nil or of an unexpected class arrives there as none (CredentialRequests.h,
/// Conversions.h). For a report that is an error: NSInvalidArgumentException is raised, with a
/// reason that names the argument. No C++ exception leaves; one of another kind ends the process.
///
/// A request whose answer is waited for keeps the object alive.
@interface CredentialProviderViewController : ASCredentialProviderViewController

/// OK was pressed in the notice. Main thread.
- (void)dismissUnavailableUI:(nullable id)sender;

// Overridden reports, which the superclass has in SDKs from macOS 26.0 on. They are called on
// systems that know of them, on any thread.
- (void)reportPublicKeyCredentialUpdateForRelyingParty:(nonnull NSString*)relyingParty
                                            userHandle:(nonnull NSData*)userHandle
                                               newName:(nonnull NSString*)newName;
- (void)reportUnknownPublicKeyCredentialForRelyingParty:(nonnull NSString*)relyingParty
                                           credentialID:(nonnull NSData*)credentialID;
- (void)reportAllAcceptedPublicKeyCredentialsForRelyingParty:(nonnull NSString*)relyingParty
                                                  userHandle:(nonnull NSData*)userHandle
                                       acceptedCredentialIDs:
                                           (nonnull NSArray<NSData*>*)acceptedCredentialIDs;

@end
