// The relying party "localhost", whose library judges what a browser hands over.

import assert from 'node:assert/strict';
import { webcrypto } from 'node:crypto';

import {
  generateAuthenticationOptions,
  generateRegistrationOptions,
  verifyAuthenticationResponse,
  verifyRegistrationResponse,
} from '@simplewebauthn/server';

// Node.js 18, Debian 12's, has what the library needs under another name.
globalThis.crypto ??= webcrypto;

const rpID = 'localhost';

export const registrationOptions = (userName, more = {}) =>
  generateRegistrationOptions({
    rpName: 'Example',
    rpID,
    userName,
    userID: Buffer.from(userName),
    authenticatorSelection: { residentKey: 'required', userVerification: 'preferred' },
    ...more,
  });

/** For the passkeys with these IDs, or any of the relying party's. */
export const authenticationOptions = (ids = [], userVerification = 'preferred') =>
  generateAuthenticationOptions({
    rpID,
    userVerification,
    allowCredentials: ids.map((id) => ({ id })),
  });

/** The outcome is a passkey that is accepted. Returns it as the relying party remembers it. */
export async function acceptedRegistration(options, { value: response, error }, origin) {
  assert.equal(error, undefined);
  const { verified, registrationInfo } = await verifyRegistrationResponse({
    response,
    expectedChallenge: options.challenge,
    expectedOrigin: origin,
    expectedRPID: rpID,
    requireUserVerification: false,
  });
  assert.equal(verified, true);
  return registrationInfo.credential;
}

/** The outcome is a sign-in that is accepted, and the passkey's counter grows. */
export async function acceptedSignIn(options, { value: response, error }, origin, passkey) {
  assert.equal(error, undefined);
  assert.equal(response.id, passkey.id);
  const { verified, authenticationInfo } = await verifyAuthenticationResponse({
    response,
    expectedChallenge: options.challenge,
    expectedOrigin: origin,
    expectedRPID: rpID,
    credential: passkey,
    requireUserVerification: options.userVerification === 'required',
  });
  assert.equal(verified, true);
  assert.ok(authenticationInfo.newCounter > passkey.counter);
  passkey.counter = authenticationInfo.newCounter;
}

export const clientData = ({ value }) =>
  JSON.parse(Buffer.from(value.response.clientDataJSON, 'base64url'));
