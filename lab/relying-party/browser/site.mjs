// A web site whose pages do, one by one, what a test says.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';

import { atEnd } from '../processes.mjs';

/** A page in a browser. What it is told before it has loaded it does then. */
class Page {
  constructor(origin, name, openPage) {
    this.origin = origin;
    this.url = `${origin}/?${name}`;
    this.#openPage = openPage;
  }

  /** Waits until the browser has opened it. */
  loaded = () => this.#done({ kind: 'nothing' });

  // The outcome of each: {value}, or {error} with the exception's name and message; {milliseconds}.
  create = (options, more) => this.#tell({ kind: 'create', options, ...more }).outcome;
  get = (options) => this.#tell({ kind: 'get', options }).outcome;
  signal = (method, details) => this.#tell({ kind: 'signal', method, details }).outcome;

  /** Asks for a passkey until it is aborted, in favor of another request or not. */
  getAbortably(options) {
    const { id, outcome } = this.#tell({ kind: 'get', options });
    return {
      outcome,
      abort: () => this.#done({ kind: 'abort', request: id }),
      abortAndGet: (other) =>
        this.#tell({ kind: 'abortAndGet', request: id, options: other }).outcome,
    };
  }

  /** Opens a page of another origin in a frame of this one, or one of its own in a tab. */
  openFrame = (name) => this.#open('openFrame', name, 1);
  openTab = (name) => this.#open('openTab', name, 0);

  removeFrame = () => this.#done({ kind: 'removeFrame' });

  /** Sends the browser's extension a message as its own script in the page does. */
  tellExtension = (message) => this.#done({ kind: 'tellExtension', message });

  /** Has the browser's extension fail to open ports from this page. */
  refusePorts = () => this.#done({ kind: 'refusePorts' });

  /** Goes elsewhere, or closes the tab. Nothing tells that it has. */
  leave = () => void this.#tell({ kind: 'leave' });
  close = () => void this.#tell({ kind: 'close' });

  /** Serves the page its next step, when there is one. */
  serveStep(response) {
    this.#response = response;
    this.#serve();
  }

  finishStep({ id, ...outcome }) {
    this.#outcomes.get(id)(outcome);
  }

  #openPage;
  #response = null;
  #steps = [];
  #outcomes = new Map();
  #count = 0;

  #tell(step) {
    const id = ++this.#count;
    const outcome = new Promise((resolve) => this.#outcomes.set(id, resolve));
    this.#steps.push({ ...step, id });
    this.#serve();
    return { id, outcome };
  }

  #serve() {
    if (this.#response && this.#steps.length > 0) {
      this.#response.end(JSON.stringify(this.#steps.shift()));
      this.#response = null;
    }
  }

  async #done(step) {
    assert.equal((await this.#tell(step).outcome).error, undefined);
  }

  async #open(kind, name, server) {
    const page = this.#openPage(name, server);
    await this.#done({ kind, source: page.url });
    return page;
  }
}

/** Two origins on this machine with the relying party "localhost". */
export class Site {
  static async start(t) {
    const site = new Site();
    atEnd(t, () => site.#end());
    for (const server of site.#servers) {
      server.listen(0, 'localhost');
      await once(server, 'listening');
    }
    return site;
  }

  /** A page that a browser can open. */
  page(name, server = 0) {
    const origin = `http://localhost:${this.#servers[server].address().port}`;
    const page = new Page(origin, name, (...of) => this.page(...of));
    this.#pages.set(name, page);
    return page;
  }

  #pages = new Map();
  #servers = [0, 1].map(() => createServer((...exchange) => this.#serve(...exchange)));

  #end() {
    for (const server of this.#servers) {
      server.close();
      server.closeAllConnections();
    }
  }

  async #serve(request, response) {
    const { pathname, search } = new URL(request.url, 'http://localhost');
    const page = this.#pages.get(search.slice(1));
    if (pathname === '/' && page) {
      response.setHeader('Content-Type', 'text/html');
      response.end(await readFile(new URL('page.html', import.meta.url)));
    } else if (pathname === '/steps' && request.method === 'GET') {
      page.serveStep(response);
    } else if (pathname === '/steps') {
      const body = await request.setEncoding('utf8').toArray();
      page.finishStep(JSON.parse(body.join('')));
      response.end();
    } else {
      response.writeHead(404).end();
    }
  }
}
