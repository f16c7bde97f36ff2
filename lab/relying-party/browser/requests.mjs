// Web pages in a real browser ask for passkeys, which a relying party's library judges.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { patience } from '../processes.mjs';
import { Browser } from './browser.mjs';
import {
  acceptedRegistration,
  acceptedSignIn,
  authenticationOptions,
  clientData,
  registrationOptions,
} from './ceremonies.mjs';
import { Site } from './site.mjs';

const registration = 'prepareInterfaceForPasskeyRegistration:';
const conditionalRegistration = 'performPasskeyRegistrationWithoutUserInteractionIfPossible:';
const silently = 'provideCredentialWithoutUserInteractionForRequest:';
const withInterface = 'prepareInterfaceToProvideCredentialForRequest:';
const fromList = 'prepareCredentialListForServiceIdentifiers:requestParameters:';

const handle = (userName) => Buffer.from(userName).toString('base64url');

test('a browser that does not start fails at once', { timeout: patience }, async (t) => {
  const site = await Site.start(t);
  const environment = { DISPLAY: ':nowhere', WAYLAND_DISPLAY: undefined };
  const browser = Browser.start(t, site.page('first'), [], { environment });
  await assert.rejects(browser, /korvan-lab ended with 1:[^]*Missing X server/);
});

test('a page in a browser without a window', { timeout: 2 * patience }, async (t) => {
  const site = await Site.start(t);
  const page = site.page('first');
  const browser = await Browser.start(t, page, ['--headless']);
  let passkey;

  /** Returns the outcome. The request led to these entry points, and ended with these words. */
  async function came(outcome, kind, entryPoints, words, from = page) {
    const [value, story] = [await outcome, await browser.story()];
    assert.deepEqual([story.origin, story.kind], [from.origin, kind]);
    assert.deepEqual(story.entryPoints, entryPoints);
    assert.match(story.outcome, words);
    return value;
  }

  async function register(userName, more, entryPoint = registration) {
    const options = await registrationOptions(userName);
    const outcome = page.create(options, more);
    const made = await came(outcome, 'create', [entryPoint], /^credential$/);
    return acceptedRegistration(options, made, page.origin);
  }

  async function signIn(passkey, options, entryPoints, from = page) {
    const outcome = from.get(options);
    const signedIn = await came(outcome, 'get', entryPoints, /^credential$/, from);
    await acceptedSignIn(options, signedIn, from.origin, passkey);
    return signedIn;
  }

  /** The host has no such passkey. */
  async function signInWithNone(id, entryPoint) {
    const outcome = page.get(await authenticationOptions([id]));
    const words = /^NotAllowedError \(.* code 101\b/;
    const { error } = await came(outcome, 'get', [entryPoint], words);
    assert.equal(error.name, 'NotAllowedError');
    assert.notEqual(error.message, '');
  }

  async function signal(method, details, entryPoint) {
    const outcome = page.signal(method, { rpId: 'localhost', ...details });
    const { error } = await came(outcome, 'signal', [entryPoint], /^returned$/);
    assert.equal(error, undefined);
  }

  await t.test('has the host opened that is not running', async () => {
    assert.equal(browser.process('korvan-sample-host'), undefined);
    passkey = await register('alice');
    assert.ok(browser.process('korvan-sample-host'));
  });

  await t.test('signs in silently with a known passkey, twice', async () => {
    for (let round = 0; round < 2; ++round) {
      const signedIn = await signIn(passkey, await authenticationOptions([passkey.id]), [silently]);
      assert.equal(clientData(signedIn).crossOrigin, false);
    }
  });

  await t.test('has the user asked where it requires user verification', async () => {
    const options = await authenticationOptions([passkey.id], 'required');
    await signIn(passkey, options, [silently, withInterface]);
  });

  await t.test('signs in from the list where it names no passkey', async () => {
    await signIn(passkey, await authenticationOptions(), [fromList]);
  });

  await t.test('gets an InvalidStateError for an excluded passkey', async () => {
    const excludeCredentials = [{ id: passkey.id }];
    const outcome = page.create(await registrationOptions('alice', { excludeCredentials }));
    const words = /^InvalidStateError \(.* code 102\b/;
    const { error } = await came(outcome, 'create', [registration], words);
    assert.equal(error.name, 'InvalidStateError');
  });

  await t.test('has a passkey made without the user by a conditional creation', async () => {
    const made = await register('bob', { mediation: 'conditional' }, conditionalRegistration);
    await signIn(made, await authenticationOptions([made.id]), [silently]);
  });

  await t.test('gets a NotAllowedError for an unknown passkey', async () => {
    await signInWithNone('bm9ib2R5J3M', fromList);
  });

  await t.test('has a frame of another origin sign in', async () => {
    const frame = await page.openFrame('frame');
    assert.notEqual(frame.origin, page.origin);
    const options = await authenticationOptions([passkey.id]);
    const signedIn = await signIn(passkey, options, [silently], frame);
    assert.equal(clientData(signedIn).crossOrigin, true);
  });

  await t.test("tells the host a user's new name", async () => {
    const details = { userId: handle('alice'), name: 'alice.b', displayName: 'Alice B.' };
    const report = 'reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:';
    await signal('signalCurrentUserDetails', details, report);
    assert.match(browser.vault(), /alice\.b/);
  });

  await t.test('has a passkey removed that it does not know', async () => {
    const { id } = await register('carol');
    const report = 'reportUnknownPublicKeyCredentialForRelyingParty:credentialID:';
    await signal('signalUnknownCredential', { credentialId: id }, report);
    await signInWithNone(id, silently);
  });

  await t.test('has the passkeys removed that it no longer accepts', async () => {
    const { id } = await register('dave');
    const details = { userId: handle('dave'), allAcceptedCredentialIds: [passkey.id] };
    const report =
      'reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:';
    await signal('signalAllAcceptedCredentials', details, report);
    await signInWithNone(id, silently);
  });

  await t.test('cannot report for the relying party of another page', async () => {
    const method = 'signalUnknownCredential';
    for (const rpId of ['example.com', 'calhost', 'page.localhost', '']) {
      await page.tellExtension({ method, details: { rpId, credentialId: passkey.id } });
    }
    const details = { rpId: 'localhost', credentialId: 'bm9ib2R5J3M' };
    const report = 'reportUnknownPublicKeyCredentialForRelyingParty:credentialID:';
    await came(page.tellExtension({ method, details }), 'signal', [report], /^returned$/);
    await signIn(passkey, await authenticationOptions([passkey.id]), [silently]);
  });

  await t.test('signs in even if the extension cannot watch over its page', async () => {
    const tab = await page.openTab('tab');
    await tab.refusePorts();
    await signIn(passkey, await authenticationOptions([passkey.id]), [silently], tab);
  });
});
