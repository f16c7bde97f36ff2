// The page of the lab's own web site, in a browser whose debugger runs scripts in it.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';
import { test } from 'node:test';

import { atEnd, end, makeDirectory, patience, spawnBound } from '../processes.mjs';
import { until } from './browser.mjs';

const { KORVAN_BROWSER_SITE: siteProgram, KORVAN_CHROMIUM: chromium } = process.env;

/** Starts the lab's web site, which reads stories from its standard input, and returns its URL too. */
async function startSite(t) {
  const site = spawn(siteProgram, { stdio: ['pipe', 'pipe', 'inherit'] });
  atEnd(t, () => end(site));
  const [line] = await once(createInterface({ input: site.stdout }), 'line');
  return { url: JSON.parse(line).url, tell: (story) => site.stdin.write(`${JSON.stringify(story)}\n`) };
}

/** A page in a browser of its own. https://chromedevtools.github.io/devtools-protocol/ */
class DebuggedPage {
  static async open(t, url) {
    const page = new DebuggedPage();
    const directory = await makeDirectory(t);
    const options = ['--headless=new', '--remote-debugging-pipe', `--user-data-dir=${directory}`];
    const root = process.getuid() === 0 ? ['--no-sandbox'] : [];
    const browser = spawnBound(chromium, [...options, ...root], {
      env: { ...process.env, TMPDIR: directory },
      stdio: ['ignore', 'ignore', 'pipe', 'pipe', 'pipe'],
    });
    // Each of its processes writes there, so that none is left when it closes.
    const closed = once(browser.stderr, 'close');
    atEnd(t, () => browser.kill() && closed);
    browser.stderr.setEncoding('utf8').on('data', (text) => (page.#errors += text));
    [, , , page.#questions, page.#answers] = browser.stdio;
    // A browser that has ended is reported at the end of its messages, with the reason.
    page.#questions.on('error', () => {});
    page.#messages = page.#readMessages();
    const { targetId } = await page.#ask('Target.createTarget', { url });
    const { sessionId } = await page.#ask('Target.attachToTarget', { targetId, flatten: true });
    page.#session = sessionId;
    return page;
  }

  /** The expression's value, or undefined if it has none. */
  async evaluate(expression) {
    const answer = await this.#ask('Runtime.evaluate', { expression, returnByValue: true });
    return answer?.result.value;
  }

  #questions;
  #answers;
  #messages;
  #session;
  #errors = '';
  #count = 0;

  /** Returns the answer's result: undefined for an error, as in a page that is left. */
  async #ask(method, params) {
    const id = ++this.#count;
    const question = { id, method, params, sessionId: this.#session };
    this.#questions.write(`${JSON.stringify(question)}\0`);
    while (true) {
      const { value, done } = await this.#messages.next();
      assert.ok(!done, `The browser has ended:\n${this.#errors}`);
      if (value.id === id) {
        return value.result;
      }
    }
  }

  async *#readMessages() {
    let unread = '';
    for await (const text of this.#answers.setEncoding('utf8')) {
      const messages = `${unread}${text}`.split('\0');
      unread = messages.pop();
      yield* messages.map((message) => JSON.parse(message));
    }
  }
}

test('a reload keeps the list', { timeout: patience }, async (t) => {
  const site = await startSite(t);
  const page = await DebuggedPage.open(t, site.url);
  const holds = (expression) => until(() => page.evaluate(expression));
  const ready = `document.querySelector('#status')?.textContent === 'Ready.'`;

  const bars = `[...document.querySelectorAll('article .bar')].map((bar) => bar.innerText)`;
  const words = `${bars}.join().replace(/\\s+/g, ' ')`;
  const shows = (text) => holds(`${words} === '${text}'`);

  await holds(ready);
  await page.evaluate('CredentialsContainer.prototype.create = () => new Promise(() => {})');
  await page.evaluate(`document.querySelector('#requests button').click()`);
  await shows('1. Register waiting');
  await page.evaluate('location.reload()');
  await holds(`performance.getEntriesByType('navigation')[0].type === 'reload' && ${ready}`);
  assert.equal(await page.evaluate(words), '1. Register page reloaded');

  site.tell({ origin: 'https://example.com', kind: 'get', outcome: 'credential' });
  await shows('2. A page of https://example.com answered,1. Register page reloaded');
});
