// Processes that tests start, and what is taken down when they are over.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

/** How long anything may take, in milliseconds. */
export const patience = 60_000;

const actions = new WeakMap();

/** Has an action done when the test `t` is over, the latest first. */
export function atEnd(t, action) {
  if (!actions.has(t)) {
    actions.set(t, []);
    t.after(async () => {
      for (const each of actions.get(t).reverse()) {
        await each();
      }
    });
  }
  actions.get(t).push(action);
}

/** Makes a directory for the time of the test. */
export async function makeDirectory(t) {
  const directory = await mkdtemp(join(tmpdir(), 'korvan-relying-party-'));
  atEnd(t, () => rm(directory, { recursive: true }));
  return directory;
}

/** Starts a program that ends with this process, even if this one is killed. */
export const spawnBound = (program, words, options) =>
  spawn('setpriv', ['--pdeathsig', 'TERM', program, ...words], options);

/** Ends a child, unless it has ended. */
export async function end(child) {
  if (child.pid && child.exitCode === null && child.signalCode === null) {
    const ended = once(child, 'exit');
    child.kill();
    await ended;
  }
}

/** Starts a host that serves `container`, and returns it when it listens. */
export async function startHost(t, program, container, ...more) {
  const host = spawnBound(program, ['--container', container, ...more], {
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  atEnd(t, () => end(host));
  await once(host, 'spawn');
  for await (const line of createInterface({ input: host.stdout })) {
    assert.equal(JSON.parse(line).event, 'ready');
    host.stdout.resume();
    return host;
  }
  throw new Error(`${program} ended before it listened.`);
}
