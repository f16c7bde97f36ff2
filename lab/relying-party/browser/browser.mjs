// `korvan-lab browser` as a process, in a directory for temporary files of its own.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { setTimeout } from 'node:timers/promises';

import { atEnd, end, makeDirectory, spawnBound } from '../processes.mjs';

const { KORVAN_LAB: labProgram, KORVAN_CHROMIUM: chromium } = process.env;

/** A line of the command's that tells of a request. */
const storyLine =
  /^ {2}(?<origin>\S+) (?<kind>\w+): (?<entryPoints>.+) → (?<outcome>.+), (?<duration>[\d.]+) ms$/;

/** Waits until the function returns something true, for which there is no event, and returns it. */
export async function until(condition) {
  while (true) {
    const value = await condition();
    if (value) {
      return value;
    }
    await setTimeout(10);
  }
}

/** The browser as it is but for one thing: pages open tabs though nobody has clicked. */
async function browserThatOpensTabs(t) {
  const directory = await makeDirectory(t);
  const words = `#!/bin/sh\nexec '${chromium}' --disable-popup-blocking "$@"\n`;
  writeFileSync(join(directory, 'chromium'), words, { mode: 0o700 });
  return directory;
}

export class Browser {
  /**
   * Opens the page, and returns the browser when it has. Whatever is left when the test `t` is over
   * is ended. The command has a process group of its own; what the test does not say of a directory
   * and the environment is made. Throws what the command wrote if that ends before.
   */
  static async start(t, page, options, { directory, environment = {} } = {}) {
    const browser = new Browser();
    const path = `${await browserThatOpensTabs(t)}:${process.env.PATH}`;
    browser.directory = directory ?? (await makeDirectory(t));
    const command = ['browser', '--site', page.url, ...options];
    browser.command = spawnBound(labProgram, command, {
      env: { ...process.env, ...environment, PATH: path, TMPDIR: browser.directory },
      stdio: ['ignore', 'pipe', 'inherit'],
      detached: true,
    });
    atEnd(t, () => end(browser.command));
    browser.#exit = once(browser.command, 'exit');
    browser.command.stdout.setEncoding('utf8').on('data', (text) => (browser.#output += text));
    browser.#lines = createInterface({ input: browser.command.stdout })[Symbol.asyncIterator]();
    await Promise.race([page.loaded(), browser.#endTooEarly()]);
    return browser;
  }

  /** The next request that the command tells of. */
  async story() {
    while (true) {
      const { value, done } = await this.#lines.next();
      assert.ok(!done, `The command ended before it told of the request:\n${this.#output}`);
      const story = storyLine.exec(value)?.groups;
      if (story) {
        return { ...story, entryPoints: story.entryPoints.split(', then ') };
      }
    }
  }

  /** Waits for the command's end, and returns its exit status or the name of what killed it. */
  async ended() {
    const [status, signal] = await this.#exit;
    return status ?? signal;
  }

  /** The command lines of all other processes that were started for the browser, by their IDs. */
  processes() {
    const ids = readdirSync('/proc').filter(
      (name) => name > 0 && Number(name) !== this.command.pid,
    );
    const isOurs = ([id, command]) =>
      `${command}${contentsOf(`/proc/${id}/environ`)}`.includes(this.directory);
    return new Map(ids.map((id) => [id, contentsOf(`/proc/${id}/cmdline`)]).filter(isOurs));
  }

  /** The ID of a process whose command line has these words, if there is one. */
  process(words) {
    return [...this.processes()].find(([, command]) => command.includes(words))?.[0];
  }

  /** The ID of the browser's first process: what the others are for is in their command lines. */
  firstProcess() {
    const isFirst = ([, command]) => /--user-data-dir=/.test(command) && !/--type=/.test(command);
    return [...this.processes()].find(isFirst)[0];
  }

  /** What there is for as long as the browser runs. */
  files = () => readdirSync(this.directory);

  /** The passkeys of the host that the command opens. */
  vault = () => readFileSync(join(this.directory, this.files()[0], 'vault'), 'latin1');

  #exit;
  #lines;
  #output = '';

  async #endTooEarly() {
    const [status, signal] = await once(this.command, 'close');
    throw new Error(`korvan-lab ended with ${status ?? signal}:\n${this.#output}`);
  }
}

/** Empty when the process has ended. */
function contentsOf(file) {
  try {
    return readFileSync(file, 'latin1');
  } catch {
    return '';
  }
}
