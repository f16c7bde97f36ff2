#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// The extension's principal class, which Info.plist names. The platform makes one object per
/// request and calls one of its entry points. Each forwards to the
/// korvan::CredentialProviderViewController that the object owns; nothing is decided here.
///
/// An argument that is nil or of an unexpected class arrives there as nullopt
/// (CredentialRequests.h, Conversions.h). In a credential update report that raises
/// NSInvalidArgumentException, with a reason that names the argument. An exception that a framework
/// raises propagates to the caller. No C++ exception leaves these methods; it ends the process.
///
/// A request with a completion keeps the object alive.
@interface CredentialProviderViewController : ASCredentialProviderViewController

/// OK was pressed in the notice. Main thread.
- (void)dismissUnavailableUI:(nullable id)sender;

// The credential update reports, which the superclass declares from the SDK of macOS 26.0 on.
// Systems that have them call them, on any thread.
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
