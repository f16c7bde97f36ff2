// The extension with its lab and a sample host, as processes.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

const patience = 60_000; // milliseconds
const { KORVAN_LAB: labProgram, KORVAN_SAMPLE_HOST: hostProgram } = process.env;

/** A sample host on a container of its own. */
export class Lab {
  /** Starts a host, which is ended and whose container is removed when the test `t` is over. */
  static async start(t) {
    const lab = new Lab();
    t.after(() => lab.#end());
    lab.#container = await mkdtemp(join(tmpdir(), 'korvan-relying-party-'));
    lab.#host = spawn(hostProgram, ['--container', lab.#container], {
      stdio: ['ignore', 'pipe', 'inherit'],
      timeout: patience,
    });
    await once(lab.#host, 'spawn');
    // Its first line says that it listens.
    for await (const line of createInterface({ input: lab.#host.stdout })) {
      if (JSON.parse(line).event === 'ready') {
        lab.#host.stdout.resume();
        return lab;
      }
    }
    throw new Error('The sample host ended before it listened.');
  }

  /** Calls an entry point of the extension, and returns what the system was told. */
  async call(entryPoint, argumentsByName) {
    const options = ['call', '--container', this.#container, '--host-application', 'none'];
    const child = spawn(labProgram, options, {
      stdio: ['pipe', 'pipe', 'inherit'],
      timeout: patience,
    });
    const closed = once(child, 'close');
    child.stdin.end(JSON.stringify({ entryPoint, ...argumentsByName }));
    const output = await child.stdout.setEncoding('utf8').toArray();
    const [status] = await closed;
    if (status !== 0) {
      throw new Error(`korvan-lab call ended with ${status}.`);
    }
    return JSON.parse(output.join(''));
  }

  #container;
  #host;

  async #end() {
    if (this.#host?.pid && this.#host.exitCode === null && this.#host.signalCode === null) {
      const ended = once(this.#host, 'exit');
      this.#host.kill();
      await ended;
    }
    if (this.#container) {
      await rm(this.#container, { recursive: true });
    }
  }
}
