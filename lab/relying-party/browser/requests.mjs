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

test(
  'a browser without a window, and a host that is opened',
  { timeout: 2 * patience },
  async (t) => {
    const site = await Site.start(t);
    const page = site.page('first');
    const browser = await Browser.start(t, page, ['--headless']);

    /** The next request came from this page and led to these entry points, and to this outcome. */
    async function expectStory(kind, entryPoints, outcome, origin = page.origin) {
      const story = await browser.story();
      assert.deepEqual([story.origin, story.kind], [origin, kind]);
      assert.deepEqual(story.entryPoints, entryPoints);
      assert.match(story.outcome, outcome);
    }

    async function register(userName, more, entryPoint = registration) {
      const options = await registrationOptions(userName);
      const response = await page.create(options, more);
      await expectStory('create', [entryPoint], /^credential$/);
      return acceptedRegistration(options, response, page.origin);
    }

    async function signIn(passkey, options, entryPoints, from = page) {
      const response = await from.get(options);
      await expectStory('get', entryPoints, /^credential$/, from.origin);
      await acceptedSignIn(options, response, from.origin, passkey);
      return response;
    }

    let passkey;

    await t.test('a registration opens the host that is not running', async () => {
      await page.loaded();
      assert.equal(browser.process('korvan-sample-host'), undefined);
      passkey = await register('alice');
      assert.ok(browser.process('korvan-sample-host'));
    });

    await t.test('a known passkey signs in silently, twice', async () => {
      for (let round = 0; round < 2; ++round) {
        const response = await signIn(passkey, await authenticationOptions([passkey.id]), [
          silently,
        ]);
        assert.equal(clientData(response).crossOrigin, false);
      }
    });

    await t.test('the user is asked where user verification is required', async () => {
      const options = await authenticationOptions([passkey.id], 'required');
      await signIn(passkey, options, [silently, withInterface]);
    });

    await t.test('a sign-in without a passkey named is from the list', async () => {
      await signIn(passkey, await authenticationOptions(), [fromList]);
    });

    await t.test('an excluded passkey is an InvalidStateError', async () => {
      const excludeCredentials = [{ id: passkey.id }];
      const options = await registrationOptions('alice', { excludeCredentials });
      assert.equal((await page.createError(options)).name, 'InvalidStateError');
      await expectStory('create', [registration], /^InvalidStateError \(.* code 102\b/);
    });

    await t.test('a conditional creation does not ask the user', async () => {
      const made = await register('bob', { mediation: 'conditional' }, conditionalRegistration);
      await signIn(made, await authenticationOptions([made.id]), [silently]);
    });

    await t.test('an unknown passkey is a NotAllowedError', async () => {
      const options = await authenticationOptions(['bm9ib2R5J3M']);
      const { name, message } = await page.getError(options);
      assert.equal(name, 'NotAllowedError');
      assert.notEqual(message, '');
      await expectStory('get', [fromList], /^NotAllowedError \(.* code 101\b/);
    });

    await t.test("a frame of another origin signs in to the page's relying party", async () => {
      const frame = await page.openFrame('frame');
      assert.notEqual(frame.origin, page.origin);
      const options = await authenticationOptions([passkey.id]);
      const response = await signIn(passkey, options, [silently], frame);
      assert.equal(clientData(response).crossOrigin, true);
    });

    await t.test('the signal of a new name reaches the host', async () => {
      const userId = Buffer.from('alice').toString('base64url');
      const details = { rpId: 'localhost', userId, name: 'alice.b', displayName: 'Alice B.' };
      await page.signal('signalCurrentUserDetails', details);
      const entryPoint = 'reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:';
      await expectStory('signal', [entryPoint], /^returned$/);
      assert.match(browser.vault(), /alice\.b/);
    });

    await t.test('the signal of an unknown passkey removes it', async () => {
      const { id } = await register('carol');
      await page.signal('signalUnknownCredential', { rpId: 'localhost', credentialId: id });
      const entryPoint = 'reportUnknownPublicKeyCredentialForRelyingParty:credentialID:';
      await expectStory('signal', [entryPoint], /^returned$/);
      const { name } = await page.getError(await authenticationOptions([id]));
      assert.equal(name, 'NotAllowedError');
      await expectStory('get', [silently], /^NotAllowedError \(.* code 101\b/);
    });

    await t.test('the signal of all accepted passkeys removes the others', async () => {
      const { id } = await register('dave');
      const userId = Buffer.from('dave').toString('base64url');
      const details = { rpId: 'localhost', userId, allAcceptedCredentialIds: [passkey.id] };
      await page.signal('signalAllAcceptedCredentials', details);
      const entryPoint =
        'reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:';
      await expectStory('signal', [entryPoint], /^returned$/);
      const { name } = await page.getError(await authenticationOptions([id]));
      assert.equal(name, 'NotAllowedError');
      await expectStory('get', [silently], /^NotAllowedError \(.* code 101\b/);
      await signIn(passkey, await authenticationOptions([passkey.id]), [silently]);
    });
  },
);
