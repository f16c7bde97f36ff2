// Requests of a real browser do not hold each other up, and those that end early leave nothing behind.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { constants } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { test } from 'node:test';

import { atEnd, end, makeDirectory, patience, spawnBound, startHost } from '../processes.mjs';
import { Browser, until } from './browser.mjs';
import {
  acceptedRegistration,
  acceptedSignIn,
  authenticationOptions,
  registrationOptions,
} from './ceremonies.mjs';
import { Site } from './site.mjs';

const { KORVAN_BROKEN_HOST: brokenHost, KORVAN_SAMPLE_HOST: sampleHost } = process.env;

/** A container with a host that makes this mistake, or without a host. */
async function containerWith(t, mistake) {
  const container = join(await makeDirectory(t), 'container');
  if (mistake) {
    await startHost(t, brokenHost, container, '--mistake', mistake);
  }
  return container;
}

/** A display that nobody sees, as a part of the environment. */
async function startDisplay(t) {
  const server = spawnBound('Xvfb', ['-displayfd', '3', '-nolisten', 'tcp', '-noreset'], {
    stdio: ['ignore', 'ignore', 'ignore', 'pipe'],
  });
  atEnd(t, () => end(server));
  const [number] = await once(createInterface({ input: server.stdio[3] }), 'line');
  return { DISPLAY: `:${number}` };
}

/** Tells the X server something with xdotool, and returns its answer. */
function tellDisplay(display, ...words) {
  const { stdout } = spawnSync('xdotool', words, { env: { ...process.env, ...display } });
  return stdout.toString().trim();
}

const options = (container) => ['--container', container, '--host-application', 'none'];

/** Nothing is left of the browser: no process, and no file. */
function expectNothingLeft(browser) {
  assert.deepEqual([...browser.processes().values()], []);
  assert.deepEqual(browser.files(), []);
}

test('a tab signs in while another waits for the host', { timeout: patience }, async (t) => {
  const mistake = 'asks-where-a-silent-assertion-requires-verification';
  const container = await containerWith(t, mistake);
  const site = await Site.start(t);
  const page = site.page('first');
  const browser = await Browser.start(t, page, ['--headless', ...options(container)]);
  const creation = await registrationOptions('alice');
  const passkey = await acceptedRegistration(creation, await page.create(creation), page.origin);

  const waiting = page.getAbortably(await authenticationOptions([passkey.id], 'required'));
  await until(() => browser.process('browser-bridge'));
  const tab = await page.openTab('second');
  const request = await authenticationOptions([passkey.id]);
  await acceptedSignIn(request, await tab.get(request), tab.origin, passkey);

  await waiting.abort();
  assert.equal((await waiting.outcome).error.name, 'AbortError');
  const outcomes = [await browser.story(), await browser.story(), await browser.story()];
  assert.match(
    outcomes.map(({ outcome }) => outcome).join(),
    /^credential,credential,AbortError\b/,
  );
});

test('a request that ends early takes its notice away', { timeout: 2 * patience }, async (t) => {
  const site = await Site.start(t);
  const page = site.page('first');
  const display = await startDisplay(t);
  const container = await containerWith(t);
  const browser = await Browser.start(t, page, options(container), { environment: display });
  const notice = ['search', '--onlyvisible', '--name', '^Korvan$'];

  /** Has `asking` ask, and ends the request when the notice is there. */
  async function expectGone(asking, endRequest) {
    const request = asking.getAbortably(await authenticationOptions());
    await until(() => tellDisplay(display, ...notice));
    await endRequest(request);
    // It ended by itself: the browser would have killed it, wordless, had it not.
    assert.match((await browser.story()).outcome, /^AbortError\b/);
    await until(() => !tellDisplay(display, ...notice));
    await until(() => !browser.process('browser-bridge'));
  }

  await t.test('when the page aborts it', async () => {
    await expectGone(page, async ({ abort, outcome }) => {
      await abort();
      assert.equal((await outcome).error.name, 'AbortError');
    });
  });

  await t.test('when its frame is removed', async () => {
    const frame = await page.openFrame('frame');
    await expectGone(frame, () => page.removeFrame());
  });

  await t.test('when its tab goes to another page', async () => {
    const tab = await page.openTab('second');
    await expectGone(tab, () => tab.leave());
  });

  await t.test('when its tab is closed', async () => {
    const tab = await page.openTab('third');
    await expectGone(tab, () => tab.close());
  });
});

test('a request that ends early ends no other', { timeout: patience }, async (t) => {
  const container = join(await makeDirectory(t), 'container');
  const host = await startHost(t, sampleHost, container);
  const site = await Site.start(t);
  const page = site.page('first');
  const browser = await Browser.start(t, page, ['--headless', ...options(container)]);
  const creation = await registrationOptions('alice');
  const passkey = await acceptedRegistration(creation, await page.create(creation), page.origin);
  assert.equal((await browser.story()).outcome, 'credential');

  // A host that is stopped could not be ended.
  atEnd(t, () => host.kill('SIGCONT'));
  host.kill('SIGSTOP');
  const request = await authenticationOptions([passkey.id]);
  const first = page.getAbortably(request);
  await until(() => browser.process('browser-bridge'));
  const second = first.abortAndGet(request);
  assert.equal((await first.outcome).error.name, 'AbortError');
  assert.match((await browser.story()).outcome, /^AbortError\b/);

  const tab = await page.openTab('second');
  tab.get(await authenticationOptions([passkey.id]));
  const isBridge = (command) => command.includes('browser-bridge');
  await until(() => [...browser.processes().values()].filter(isBridge).length === 2);
  tab.close();
  assert.match((await browser.story()).outcome, /^AbortError\b/);

  host.kill('SIGCONT');
  await acceptedSignIn(request, await second, page.origin, passkey);
});

/** Ends the browser or the command in the middle of a request, and returns the command's status. */
async function statusAfter(t, endSomething) {
  const container = await containerWith(t, 'never-answers');
  const site = await Site.start(t);
  const page = site.page('first');
  const browser = await Browser.start(t, page, ['--headless', ...options(container)]);
  page.getAbortably(await authenticationOptions());
  await until(() => browser.process('browser-bridge'));
  endSomething(browser);
  const status = await browser.ended();
  return { browser, status };
}

test(
  'nothing is left of a browser that is closed in a request',
  { timeout: patience },
  async (t) => {
    const { browser, status } = await statusAfter(t, (it) => process.kill(it.firstProcess()));
    assert.equal(status, 0);
    expectNothingLeft(browser);
  },
);

for (const signal of ['SIGINT', 'SIGTERM']) {
  test(
    `nothing is left when ${signal} ends the command in a request`,
    { timeout: patience },
    async (t) => {
      const { browser, status } = await statusAfter(t, ({ command }) => command.kill(signal));
      assert.equal(status, 128 + constants.signals[signal]);
      expectNothingLeft(browser);
    },
  );
}

test(
  'nothing is left when SIGKILL ends the command in a request',
  { timeout: patience },
  async (t) => {
    const { browser, status } = await statusAfter(t, ({ command }) => command.kill('SIGKILL'));
    assert.equal(status, 'SIGKILL');
    await until(() => browser.processes().size === 0 && browser.files().length === 0);
  },
);

test('the next start removes what SIGKILL of all left', { timeout: patience }, async (t) => {
  const { browser } = await statusAfter(t, ({ command }) => process.kill(-command.pid, 'SIGKILL'));
  await until(() => browser.processes().size === 0);
  const [left] = browser.files();
  assert.ok(left);
  const site = await Site.start(t);
  const page = site.page('second');
  const { directory } = browser;
  const next = await Browser.start(t, page, ['--headless'], { directory });
  assert.equal(next.files().includes(left), false);
});
