#pragma once

// What the adapters use of AuthenticationServices, and no more; see ../../../README.md.

#include <AppKit/AppKit.h>

#pragma clang assume_nonnull begin

extern "C" NSErrorDomain const ASExtensionErrorDomain;

typedef NSString* ASAuthorizationPublicKeyCredentialUserVerificationPreference;
extern "C" ASAuthorizationPublicKeyCredentialUserVerificationPreference const
    ASAuthorizationPublicKeyCredentialUserVerificationPreferencePreferred;

API_AVAILABLE(macos(11.0))
@interface ASCredentialServiceIdentifier : NSObject <NSCopying, NSSecureCoding>
@property(nonatomic, readonly, copy) NSString* identifier;
@end

API_AVAILABLE(macos(14.0))
@protocol ASCredentialIdentity <NSObject>
@property(nonatomic, readonly, nullable) NSString* recordIdentifier;
@end

API_AVAILABLE(macos(14.0))
@protocol ASCredentialRequest <NSObject, NSSecureCoding, NSCopying>
@property(nonatomic, readonly) id<ASCredentialIdentity> credentialIdentity;
@end

API_AVAILABLE(macos(12.0))
@interface ASAuthorizationPlatformPublicKeyCredentialDescriptor : NSObject
- (instancetype)initWithCredentialID:(NSData*)credentialID;
@property(nonatomic, copy) NSData* credentialID;
@end

API_AVAILABLE(macos(14.0))
@interface ASPasskeyCredentialIdentity : NSObject <NSCopying, NSSecureCoding, ASCredentialIdentity>
- (instancetype)initWithRelyingPartyIdentifier:(NSString*)relyingPartyIdentifier
                                      userName:(NSString*)userName
                                  credentialID:(NSData*)credentialID
                                    userHandle:(NSData*)userHandle
                              recordIdentifier:(nullable NSString*)recordIdentifier;
@property(nonatomic, readonly) NSString* relyingPartyIdentifier;
@property(nonatomic, readonly) NSString* userName;
@property(nonatomic, readonly, copy) NSData* credentialID;
@property(nonatomic, readonly, copy) NSData* userHandle;
@end

API_AVAILABLE(macos(14.0))
@interface ASPasskeyCredentialRequest : NSObject <ASCredentialRequest>
- (instancetype)initWithCredentialIdentity:(ASPasskeyCredentialIdentity*)credentialIdentity
                            clientDataHash:(NSData*)clientDataHash
                userVerificationPreference:
                    (ASAuthorizationPublicKeyCredentialUserVerificationPreference)
                        userVerificationPreference
                       supportedAlgorithms:(NSArray<NSNumber*>*)supportedAlgorithms;
@property(nonatomic, readonly) NSData* clientDataHash;
@property(nonatomic)
    ASAuthorizationPublicKeyCredentialUserVerificationPreference userVerificationPreference;
@property(nonatomic, readonly) NSArray<NSNumber*>* supportedAlgorithms;
@property(nonatomic, readonly, nullable)
    NSArray<ASAuthorizationPlatformPublicKeyCredentialDescriptor*>* excludedCredentials
        API_AVAILABLE(macos(15.0));
@end

API_AVAILABLE(macos(14.0))
@interface ASPasskeyCredentialRequestParameters : NSObject <NSSecureCoding, NSCopying>
@property(nonatomic, readonly) NSString* relyingPartyIdentifier;
@property(nonatomic, readonly, copy) NSData* clientDataHash;
@property(nonatomic, readonly)
    ASAuthorizationPublicKeyCredentialUserVerificationPreference userVerificationPreference;
@property(nonatomic, readonly, copy) NSArray<NSData*>* allowedCredentials;
@end

API_AVAILABLE(macos(14.0))
@interface ASPasskeyAssertionCredential : NSObject
- (instancetype)initWithUserHandle:(NSData*)userHandle
                      relyingParty:(NSString*)relyingParty
                         signature:(NSData*)signature
                    clientDataHash:(NSData*)clientDataHash
                 authenticatorData:(NSData*)authenticatorData
                      credentialID:(NSData*)credentialID;
@property(nonatomic, readonly, copy) NSData* userHandle;
@property(nonatomic, readonly, copy) NSString* relyingParty;
@property(nonatomic, readonly, copy) NSData* signature;
@property(nonatomic, readonly, copy) NSData* clientDataHash;
@property(nonatomic, readonly, copy) NSData* authenticatorData;
@property(nonatomic, readonly, copy) NSData* credentialID;
@end

API_AVAILABLE(macos(14.0))
@interface ASPasskeyRegistrationCredential : NSObject
- (instancetype)initWithRelyingParty:(NSString*)relyingParty
                      clientDataHash:(NSData*)clientDataHash
                        credentialID:(NSData*)credentialID
                   attestationObject:(NSData*)attestationObject;
@property(nonatomic, readonly, copy) NSString* relyingParty;
@property(nonatomic, readonly, copy) NSData* clientDataHash;
@property(nonatomic, readonly, copy) NSData* credentialID;
@property(nonatomic, readonly, copy) NSData* attestationObject;
@end

API_AVAILABLE(macos(11.0))
@interface ASCredentialProviderExtensionContext : NSExtensionContext
- (void)completeExtensionConfigurationRequest;
- (void)completeAssertionRequestWithSelectedPasskeyCredential:
            (ASPasskeyAssertionCredential*)credential
                                            completionHandler:
                                                (void (^_Nullable)(BOOL expired))completionHandler
    API_AVAILABLE(macos(14.0));
- (void)completeRegistrationRequestWithSelectedPasskeyCredential:
            (ASPasskeyRegistrationCredential*)credential
                                               completionHandler:(void (^_Nullable)(BOOL expired))
                                                                     completionHandler
    API_AVAILABLE(macos(14.0));
- (void)cancelRequestWithError:(NSError*)error;
@end

API_AVAILABLE(macos(11.0))
@interface ASCredentialProviderViewController : NSViewController
@property(nonatomic, readonly, strong) ASCredentialProviderExtensionContext* extensionContext;
- (void)prepareInterfaceForExtensionConfiguration;
- (void)prepareCredentialListForServiceIdentifiers:
            (NSArray<ASCredentialServiceIdentifier*>*)serviceIdentifiers
                                 requestParameters:
                                     (ASPasskeyCredentialRequestParameters*)requestParameters
    API_AVAILABLE(macos(14.0));
- (void)provideCredentialWithoutUserInteractionForRequest:(id<ASCredentialRequest>)credentialRequest
    API_AVAILABLE(macos(14.0));
- (void)prepareInterfaceToProvideCredentialForRequest:(id<ASCredentialRequest>)credentialRequest
    API_AVAILABLE(macos(14.0));
- (void)prepareInterfaceForPasskeyRegistration:(id<ASCredentialRequest>)registrationRequest
    API_AVAILABLE(macos(14.0));
- (void)performPasskeyRegistrationWithoutUserInteractionIfPossible:
    (ASPasskeyCredentialRequest*)registrationRequest API_AVAILABLE(macos(15.0));
- (void)reportPublicKeyCredentialUpdateForRelyingParty:(NSString*)relyingParty
                                            userHandle:(NSData*)userHandle
                                               newName:(NSString*)newName
    API_AVAILABLE(macos(26.0));
- (void)reportUnknownPublicKeyCredentialForRelyingParty:(NSString*)relyingParty
                                           credentialID:(NSData*)credentialID
    API_AVAILABLE(macos(26.0));
- (void)reportAllAcceptedPublicKeyCredentialsForRelyingParty:(NSString*)relyingParty
                                                  userHandle:(NSData*)userHandle
                                       acceptedCredentialIDs:
                                           (NSArray<NSData*>*)acceptedCredentialIDs
    API_AVAILABLE(macos(26.0));
@end

#pragma clang assume_nonnull end
