// The page: makes requests when a button is pressed, and shows how each ended.

import { Entry } from './entry.js';
import { ask, finish, optionsFor, siteState } from './relying-party.js';
import { groups } from './requests.js';

const element = (id) => document.getElementById(id);
const [status, abortButton, chooser, entries] = ['status', 'abort', 'passkey', 'entries'].map(element);

const buttons = [];
let passkeys = [];
let embeddedUrl = '';
/** Ends the request that is being made, if there is one. */
let running = null;

/** The entries whose stories are still to come, by the requests' keys. */
const awaited = [];

/** Called when no story that will come is awaited. */
let toldAll = () => {};

function tellIfToldAll() {
  if (awaited.every(({ uncertain }) => uncertain)) {
    toldAll();
  }
}

const say = (words) => {
  status.textContent = words;
};

// Stories: what the command tells of each request.

const keyOf = (request) => request?.challenge ?? JSON.stringify(Object.entries(request ?? {}).sort());

/**
 * Shows in `entry` what the command tells of the request with these options. Nothing is told of one that was
 * aborted before the browser passed it on: that one is `uncertain`.
 */
function awaitStory(options, entry, uncertain = false) {
  awaited.push({ key: keyOf(options), entry, uncertain });
}

function onStory(story) {
  const index = awaited.findIndex(({ key }) => key === keyOf(story.request));
  if (index >= 0) {
    awaited.splice(index, 1)[0].entry.told(story);
    tellIfToldAll();
  } else {
    showForeign(story);
  }
}

/** A request of another page in this browser, or of the toolbar's button. */
function showForeign(story) {
  element('empty').hidden = true;
  const entry = new Entry(entries, story.origin ? `A page of ${story.origin}` : 'The browser');
  entry.asked(story.kind, story.request ?? {});
  entry.told(story);
  entry.ended(story.error ? `${story.error.name}: ${story.error.message}` : story.outcome ?? '');
  entry.verdict(story.error ? 'bad' : 'neutral', story.error ? story.error.name : 'answered');
}

/** Has a reload keep the list. Requests without an answer have ended with the page that was left. */
function keepEntries() {
  entries.innerHTML = sessionStorage.getItem('entries') ?? '';
  element('empty').hidden = entries.childElementCount > 0;
  for (const badge of entries.querySelectorAll('.waiting')) {
    badge.className = 'badge';
    badge.textContent = 'page reloaded';
  }
  addEventListener('pagehide', () => sessionStorage.setItem('entries', entries.innerHTML));
}

// Requests.

const chosen = () => passkeys.find(({ credentialID }) => credentialID === chooser.value);

/** A new passkey is the chosen one. */
async function showPasskeys() {
  const known = passkeys.length;
  ({ passkeys, embeddedUrl } = await siteState());
  if (passkeys.length > known) {
    chooser.replaceChildren(
      ...passkeys.map(({ userName, credentialID }) => new Option(userName, credentialID)),
    );
    chooser.value = passkeys.at(-1).credentialID;
  }
  showWhatIsPossible();
}

function showWhatIsPossible() {
  abortButton.setAttribute('aria-disabled', String(!running));
  for (const { button, request } of buttons) {
    const possible = !running && (!request.needsPasskey || passkeys.length > 0);
    button.setAttribute('aria-disabled', String(!possible));
  }
}

/** Has the frame sign in. Resolves as ask() does. */
function askInFrame(wish, entry, signal) {
  const frame = document.createElement('iframe');
  const listening = new AbortController();
  frame.title = 'A frame of another origin, which signs in';
  frame.allow = 'publickey-credentials-get';
  frame.src = `${embeddedUrl}frame.html#${encodeURIComponent(JSON.stringify(wish))}`;
  return new Promise((resolve, reject) => {
    const onMessage = ({ source, data }) => {
      if (source !== frame.contentWindow) {
        return;
      }
      if (data.options) {
        entry.asked('navigator.credentials.get(), in a frame', data.options);
        awaitStory(data.options, entry);
      } else if (data.review) {
        resolve(data.review);
      } else {
        reject(data.error);
      }
    };
    addEventListener('message', onMessage, listening);
    signal.addEventListener('abort', () => reject(signal.reason));
    document.body.append(frame);
  }).finally(() => {
    listening.abort();
    frame.remove();
  });
}

async function askHere(request, wish, entry, controller) {
  const options = await optionsFor(wish);
  const mediation = wish.conditional ? ', conditional' : '';
  entry.asked(`navigator.credentials.${wish.ceremony}()${mediation}`, options);
  awaitStory(options, entry, request.aborts);
  const asked = ask(wish, options, controller.signal);
  if (request.aborts) {
    controller.abort();
  }
  return asked;
}

async function tellHost(request, entry) {
  const [method, argument] = request.signal(chosen());
  entry.asked(`PublicKeyCredential.${method}()`, argument);
  awaitStory(argument, entry);
  await PublicKeyCredential[method](argument);
  entry.ended('The browser has passed it on. A report has no answer.');
  return 'delivered';
}

async function makeCeremony(request, entry, controller) {
  const wish = request.wish(chosen());
  const review = request.inFrame
    ? await askInFrame(wish, entry, controller.signal)
    : await askHere(request, wish, entry, controller);
  entry.accepted(review);
  await showPasskeys();
  return review.verified ? 'accepted' : 'not accepted';
}

/** Makes a request, shows it, and returns how it ended. */
async function make(request) {
  element('empty').hidden = true;
  const controller = new AbortController();
  const entry = new Entry(entries, request.label);
  running = controller;
  showWhatIsPossible();
  say(`${request.label}: waiting for the browser.`);
  let ending;
  try {
    ending = request.signal ? await tellHost(request, entry) : await makeCeremony(request, entry, controller);
  } catch (error) {
    ending = error.name;
    entry.ended(`${error.name}: ${error.message}`);
  }
  const right = request.expects.includes(ending);
  entry.verdict(right ? 'good' : 'bad', right ? `${ending}, as expected` : ending);
  say(`${request.label}: ${ending}${right ? ', as expected' : `; expected ${request.expects.join(' or ')}`}.`);
  running = null;
  showWhatIsPossible();
  return right;
}

function press(request) {
  if (running) {
    say('One request at a time: wait, or abort it.');
  } else if (request.needsPasskey && passkeys.length === 0) {
    say('Register a passkey first.');
  } else {
    make(request);
  }
}

function showButtons() {
  for (const { heading, requests } of groups) {
    const group = document.createElement('fieldset');
    const legend = document.createElement('legend');
    legend.textContent = heading;
    group.append(legend);
    for (const request of requests) {
      const button = document.createElement('button');
      const about = document.createElement('span');
      button.type = 'button';
      button.append(request.label, about);
      about.textContent = request.about;
      button.addEventListener('click', () => press(request));
      buttons.push({ button, request });
      group.append(button);
    }
    element('requests').append(group);
  }
}

// The page by itself.

/** Resolves when every story that will come has come, or at the latest after some seconds. */
const storiesTold = () =>
  new Promise((resolve) => {
    const giveUp = setTimeout(resolve, 5000);
    toldAll = () => {
      clearTimeout(giveUp);
      resolve();
    };
    tellIfToldAll();
  });

async function runByItself() {
  let well = true;
  for (const request of groups.flatMap(({ requests }) => requests)) {
    if (!request.sinceMacOS15) {
      well = (await make(request)) && well;
      // One after the other in the terminal too.
      await storiesTold();
    }
  }
  await finish(well);
}

const stories = new EventSource('events');
stories.addEventListener('message', ({ data }) => onStory(JSON.parse(data)));
stories.addEventListener('error', () => say('The lab has ended. Start the command again.'));
const connected = new Promise((resolve) => {
  stories.addEventListener('open', resolve, { once: true });
});

abortButton.addEventListener('click', () => running?.abort());
showButtons();
keepEntries();
await connected;
await showPasskeys();
say('Ready.');
if (location.search === '?run') {
  await runByItself();
}
