// The extension with its lab and a sample host, as processes.

import { spawn } from 'node:child_process';
import { once } from 'node:events';

import { makeDirectory, patience, startHost } from './processes.mjs';

const { KORVAN_LAB: labProgram, KORVAN_SAMPLE_HOST: hostProgram } = process.env;

/** A sample host on a container of its own. */
export class Lab {
  /** Starts a host, which is ended and whose container is removed when the test `t` is over. */
  static async start(t) {
    const lab = new Lab();
    lab.#container = await makeDirectory(t);
    await startHost(t, hostProgram, lab.#container);
    return lab;
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
}
