// Prints how long a page in a real browser waits for its passkey; with --long, also whether all is
// answered over a longer time. Started by tools/browser-figures.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { join } from 'node:path';
import { setTimeout } from 'node:timers/promises';

import { makeDirectory, startHost } from '../processes.mjs';
import { Browser, until } from './browser.mjs';
import {
  acceptedRegistration,
  acceptedSignIn,
  authenticationOptions,
  registrationOptions,
} from './ceremonies.mjs';
import { Site } from './site.mjs';

const rounds = 25;
const { KORVAN_SAMPLE_HOST: sampleHost } = process.env;

const median = (numbers) => numbers.sort((one, other) => one - other)[numbers.length >> 1];
const shown = (milliseconds) => `${milliseconds.toFixed(1).padStart(8)} ms`;

/** As a test is told of what it has to end. */
const ends = [];
const whole = { after: (end) => ends.push(end) };
const site = await Site.start(whole);
const container = join(await makeDirectory(whole), 'container');
const host = await startHost(whole, sampleHost, container);
const page = site.page('figures');
const options = ['--headless', '--container', container, '--host-application', 'none'];
const browser = await Browser.start(whole, page, options);

const creation = await registrationOptions('alice');
const passkey = await acceptedRegistration(creation, await page.create(creation), page.origin);
await browser.story();

/** What a silent sign-in took: the page's time, and of it the extension's with the host. */
async function signIn(meanwhile = () => {}) {
  const request = await authenticationOptions([passkey.id]);
  const outcome = page.get(request);
  await meanwhile();
  const signedIn = await outcome;
  await acceptedSignIn(request, signedIn, page.origin, passkey);
  const { duration } = await browser.story();
  return { whole: signedIn.milliseconds, answer: Number(duration) };
}

/** What a bridge takes to start and to refuse what is no request. */
async function startBridge() {
  const [directory] = browser.files();
  const start = performance.now();
  const bridge = spawn(join(browser.directory, directory, 'bridge'), ['chrome-extension://']);
  bridge.stdin.write(Buffer.from('\x02\0\0\0{}'));
  await once(bridge.stdout, 'data');
  const end = performance.now();
  bridge.stdin.end();
  await once(bridge, 'exit');
  return end - start;
}

async function times(count, measure) {
  const all = [];
  for (let round = 0; round < count; ++round) {
    all.push(await measure());
  }
  return all;
}

async function printSplit() {
  const signIns = await times(rounds, signIn);
  const start = median(await times(rounds, startBridge));
  const wholeTime = median(signIns.map((each) => each.whole));
  const answer = median(signIns.map((each) => each.answer));
  console.log(`A silent sign-in from the page's call to its promise, the median of ${rounds}:
  ${shown(wholeTime)}, at most 60 are fine; of it
  ${shown(wholeTime - start - answer)} the browser
  ${shown(start)} starting the bridge
  ${shown(answer)} the extension and the host`);
}

const noBridge = () => until(() => !browser.process('browser-bridge'));

async function goLong() {
  await setTimeout(40_000);
  console.log(`Forty seconds idle, then a sign-in: ${shown((await signIn()).whole)}`);
  await noBridge();

  host.kill('SIGSTOP');
  const stalled = await signIn(async () => {
    await setTimeout(60_000);
    host.kill('SIGCONT');
  });
  console.log(`A host that takes a minute: ${shown(stalled.whole)}`);
  await noBridge();

  const all = await times(200, async () => {
    const { whole } = await signIn();
    await noBridge();
    return whole;
  });
  console.log(
    `${all.length} sign-ins in a row, no process left of any: ${shown(median(all))} each`,
  );
}

try {
  await printSplit();
  if (process.argv.includes('--long')) {
    await goLong();
  }
} finally {
  for (const end of ends) {
    await end();
  }
}
