// A relying party's library, which knows nothing of Korvan, judges what the extension hands over.

import assert from 'node:assert/strict';
import { createHash, webcrypto } from 'node:crypto';
import { test } from 'node:test';

import {
  generateAuthenticationOptions,
  generateRegistrationOptions,
  verifyAuthenticationResponse,
  verifyRegistrationResponse,
} from '@simplewebauthn/server';

import { Lab } from './lab.mjs';

// Node.js 18, Debian 12's, has what the library needs under another name.
globalThis.crypto ??= webcrypto;

const rpID = 'example.com';
const origin = 'https://example.com';
const userID = Buffer.from('user 7');
const base64url = (bytes) => Buffer.from(bytes).toString('base64url');
const bytes = (text) => Buffer.from(text, 'base64url');

/** What a browser states of a ceremony: https://www.w3.org/TR/webauthn-3/#dictionary-client-data */
function clientData(type, challenge) {
  const json = JSON.stringify({ type, challenge, origin, crossOrigin: false });
  return { json: base64url(json), hash: createHash('sha256').update(json).digest('base64url') };
}

function registrationOptions(more = {}) {
  return generateRegistrationOptions({
    rpName: 'Example',
    rpID,
    userID,
    userName: 'alice',
    authenticatorSelection: { residentKey: 'required', userVerification: 'required' },
    ...more,
  });
}

/** Plays the browser and the system: has the extension make a passkey for the library's options. */
async function register(lab, options, entryPoint = 'prepareInterfaceForPasskeyRegistration:') {
  const { json, hash } = clientData('webauthn.create', options.challenge);
  const told = await lab.call(entryPoint, {
    request: {
      class: 'ASPasskeyCredentialRequest',
      credentialIdentity: {
        relyingPartyIdentifier: options.rp.id,
        userName: options.user.name,
        userHandle: options.user.id,
      },
      clientDataHash: hash,
      userVerificationPreference: options.authenticatorSelection.userVerification,
      supportedAlgorithms: options.pubKeyCredParams.map(({ alg }) => alg),
      excludedCredentials: options.excludeCredentials.map(({ id }) => ({ credentialID: id })),
    },
  });
  if (told.outcome !== 'completedRegistration') {
    return { told };
  }
  const { credentialID, attestationObject, clientDataHash, relyingParty } = told.credential;
  assert.deepEqual({ clientDataHash, relyingParty }, { clientDataHash: hash, relyingParty: rpID });
  return {
    told,
    response: publicKeyCredential(credentialID, { clientDataJSON: json, attestationObject }),
  };
}

const authenticationOptions = (more = {}) =>
  generateAuthenticationOptions({ rpID, userVerification: 'required', ...more });

/** The same for a sign-in; `request` makes the entry point's arguments of the client-data hash. */
async function authenticate(lab, options, entryPoint, request) {
  const { json, hash } = clientData('webauthn.get', options.challenge);
  const told = await lab.call(entryPoint, request(hash, options));
  assert.equal(told.outcome, 'completedAssertion', JSON.stringify(told));
  const { credentialID, authenticatorData, signature, userHandle, ...others } = told.credential;
  assert.deepEqual(others, { clientDataHash: hash, relyingParty: rpID });
  assert.equal(userHandle, base64url(userID));
  return publicKeyCredential(credentialID, {
    clientDataJSON: json,
    authenticatorData,
    signature,
    userHandle,
  });
}

function signIn(lab, options, passkey) {
  const entryPoint = 'prepareInterfaceToProvideCredentialForRequest:';
  return authenticate(lab, options, entryPoint, knownPasskey(passkey));
}

const knownPasskey = (passkey) => (clientDataHash, options) => ({
  request: {
    class: 'ASPasskeyCredentialRequest',
    credentialIdentity: {
      relyingPartyIdentifier: options.rpId,
      credentialID: passkey.id,
    },
    clientDataHash,
    userVerificationPreference: options.userVerification,
  },
});

const anyPasskey = (clientDataHash, options) => ({
  serviceIdentifiers: [origin],
  requestParameters: {
    relyingPartyIdentifier: options.rpId,
    clientDataHash,
    userVerificationPreference: options.userVerification,
    allowedCredentials: options.allowCredentials?.map(({ id }) => id) ?? [],
  },
});

/** https://www.w3.org/TR/webauthn-3/#dictdef-registrationresponsejson, and authenticationresponsejson */
function publicKeyCredential(id, response) {
  return { id, rawId: id, type: 'public-key', response, clientExtensionResults: {} };
}

const verifyRegistration = (options, response, more = {}) =>
  verifyRegistrationResponse({
    response,
    expectedChallenge: options.challenge,
    expectedOrigin: origin,
    expectedRPID: rpID,
    requireUserVerification: true,
    ...more,
  });

const verifyAuthentication = (options, response, passkey, more = {}) =>
  verifyAuthenticationResponse({
    response,
    expectedChallenge: options.challenge,
    expectedOrigin: origin,
    expectedRPID: rpID,
    credential: passkey,
    requireUserVerification: options.userVerification === 'required',
    ...more,
  });

/** A passkey that the relying party has accepted, as it remembers it. */
async function registeredPasskey(lab) {
  const options = await registrationOptions();
  const { response } = await register(lab, options);
  const { verified, registrationInfo } = await verifyRegistration(options, response);
  assert.equal(verified, true);
  assert.equal(registrationInfo.credential.id, response.id);
  return registrationInfo.credential;
}

/** The sign-in is accepted; the passkey as the relying party remembers it from then on. */
async function accepted(options, response, passkey) {
  const { verified, authenticationInfo } = await verifyAuthentication(options, response, passkey);
  assert.equal(verified, true);
  assert.ok(authenticationInfo.newCounter > passkey.counter);
  return { ...passkey, counter: authenticationInfo.newCounter };
}

const withBitFlipped = (text) => {
  const flipped = bytes(text);
  flipped[flipped.length - 1] ^= 1;
  return base64url(flipped);
};

/** The counter is the last four bytes: https://www.w3.org/TR/webauthn-3/#sctn-authenticator-data */
function withCounter(counter, authenticatorData) {
  const changed = bytes(authenticatorData);
  changed.writeUInt32BE(counter, changed.length - 4);
  return base64url(changed);
}

test('a registration and sign-ins with a growing counter are accepted', async (t) => {
  const lab = await Lab.start(t);
  let passkey = await registeredPasskey(lab);
  for (let round = 0; round < 2; ++round) {
    const options = await authenticationOptions();
    passkey = await accepted(options, await signIn(lab, options, passkey), passkey);
  }
});

test('a silent sign-in, and one from the list of credentials, are accepted', async (t) => {
  const lab = await Lab.start(t);
  let passkey = await registeredPasskey(lab);
  for (const [entryPoint, request, more] of [
    [
      'provideCredentialWithoutUserInteractionForRequest:',
      knownPasskey(passkey),
      { userVerification: 'preferred' },
    ],
    [
      'prepareCredentialListForServiceIdentifiers:requestParameters:',
      anyPasskey,
      { allowCredentials: [{ id: passkey.id }] },
    ],
  ]) {
    const options = await authenticationOptions(more);
    passkey = await accepted(options, await authenticate(lab, options, entryPoint, request), passkey);
  }
});

test('a conditional registration is accepted', async (t) => {
  const lab = await Lab.start(t);
  const entryPoint = 'performPasskeyRegistrationWithoutUserInteractionIfPossible:';
  const options = await registrationOptions({
    authenticatorSelection: { residentKey: 'required', userVerification: 'preferred' },
  });
  const { response } = await register(lab, options, entryPoint);
  const { verified } = await verifyRegistration(options, response);
  assert.equal(verified, true);
});

test('a registration is refused when the passkey is excluded', async (t) => {
  const lab = await Lab.start(t);
  const { id } = await registeredPasskey(lab);
  const excludeCredentials = [{ id }];
  const { told } = await register(lab, await registrationOptions({ excludeCredentials }));
  assert.equal(told.outcome, 'cancelled');
  assert.equal(told.error.code, 102);
});

/** What the relying party expects instead of what it got, and the words of its refusal. */
const somethingElse = (challenge) => [
  [{ expectedChallenge: challenge }, /challenge/],
  [{ expectedOrigin: 'https://example.net' }, /origin/],
  [{ expectedRPID: 'example.net' }, /RP ID/],
];

test('a registration and a sign-in are refused when they are for something else', async (t) => {
  const lab = await Lab.start(t);
  const options = await registrationOptions();
  const { response } = await register(lab, options);
  for (const [expected, words] of somethingElse((await registrationOptions()).challenge)) {
    await assert.rejects(verifyRegistration(options, response, expected), words);
  }

  const passkey = await registeredPasskey(lab);
  const signInOptions = await authenticationOptions();
  const signedIn = await signIn(lab, signInOptions, passkey);
  for (const [expected, words] of somethingElse((await authenticationOptions()).challenge)) {
    await assert.rejects(verifyAuthentication(signInOptions, signedIn, passkey, expected), words);
  }
  await accepted(signInOptions, signedIn, passkey);
});

test('a sign-in is refused when the signature or the counter was tampered with', async (t) => {
  const lab = await Lab.start(t);
  const passkey = await registeredPasskey(lab);
  const options = await authenticationOptions();
  const credential = await signIn(lab, options, passkey);
  for (const [part, value] of Object.entries({
    signature: withBitFlipped(credential.response.signature),
    authenticatorData: withCounter(3, credential.response.authenticatorData),
  })) {
    const tampered = { ...credential, response: { ...credential.response, [part]: value } };
    const { verified } = await verifyAuthentication(options, tampered, passkey);
    assert.equal(verified, false, part);
  }
  await accepted(options, credential, passkey);
});

test('a sign-in that is replayed is refused', async (t) => {
  const lab = await Lab.start(t);
  const passkey = await registeredPasskey(lab);
  const options = await authenticationOptions();
  const response = await signIn(lab, options, passkey);
  const afterwards = await accepted(options, response, passkey);
  await assert.rejects(verifyAuthentication(options, response, afterwards), /counter/);
});

test('a sign-in with a passkey of another vault is refused', async (t) => {
  const passkey = await registeredPasskey(await Lab.start(t));
  const stranger = await Lab.start(t);
  const others = await registeredPasskey(stranger);
  const options = await authenticationOptions();
  const response = await signIn(stranger, options, others);
  const claimed = publicKeyCredential(passkey.id, response.response);
  const { verified } = await verifyAuthentication(options, claimed, passkey);
  assert.equal(verified, false);
});
