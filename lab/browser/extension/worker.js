// Sends the passkey requests of all pages to the lab's bridge, a process for each, and its answers back.

const bridgeName = 'example.korvan.lab.browser_bridge';
const proxy = chrome.webAuthenticationProxy;

// The requests that have no answer yet, by their IDs: their challenges and the ports of their bridges.
const requests = new Map();
// The ports of the pages that wait for an answer, each with the challenge as its name.
const pages = new Set();
// The challenges of pages that want a passkey without asking the user, which the proxy does not tell.
const conditionalChallenges = new Set();

// Calls `answered` with the bridge's answer, or with an error if the bridge ends without one.
function ask(message, answered) {
  const port = chrome.runtime.connectNative(bridgeName);
  let isAnswered = false;
  port.onMessage.addListener((answer) => {
    isAnswered = true;
    answered(answer);
  });
  port.onDisconnect.addListener(() => {
    const reason = chrome.runtime.lastError?.message ?? 'it ended';
    if (!isAnswered) answered({error: {name: 'NotAllowedError', message: `The lab's bridge gave no answer: ${reason}`}});
  });
  port.postMessage(message);
  return port;
}

function serve(kind, {requestId, requestDetailsJson}, complete) {
  const details = JSON.parse(requestDetailsJson);
  const conditional = conditionalChallenges.delete(details.challenge);
  const bridge = ask({kind, details, conditional}, async ({response, error}) => {
    if (!requests.delete(requestId)) return;
    try {
      await complete(error ? {requestId, error} : {requestId, responseJson: JSON.stringify(response)});
    } catch (refusal) {
      await complete({requestId, error: {name: 'NotAllowedError', message: `The browser refused the answer: ${refusal.message}`}});
    }
  });
  requests.set(requestId, {challenge: details.challenge, bridge});
}

proxy.onCreateRequest.addListener((request) => serve('create', request, proxy.completeCreateRequest));
proxy.onGetRequest.addListener((request) => serve('get', request, proxy.completeGetRequest));
proxy.onIsUvpaaRequest.addListener(({requestId}) => proxy.completeIsUvpaaRequest({requestId, isUvpaa: true}));

// The bridge ends when its port closes, and takes its notice with it.
function cancel(requestId) {
  requests.get(requestId)?.bridge.disconnect();
  requests.delete(requestId);
}

proxy.onRequestCanceled.addListener(cancel);

chrome.runtime.onConnectExternal.addListener((page) => {
  pages.add(page);
  page.onDisconnect.addListener(() => {
    pages.delete(page);
    // Another request with the same challenge may have come since.
    if ([...pages].some(({name}) => name === page.name)) return;
    for (const [requestId, {challenge}] of requests) {
      if (challenge === page.name) cancel(requestId);
    }
  });
});

// A page may report for its own relying party only. The browser has checked that too, but not of a page that sends
// the message by itself. A public suffix passes here, which does no harm: nobody can register a passkey for it.
function mayReport(origin, relyingParty) {
  const host = new URL(origin).hostname;
  return host === relyingParty || host.endsWith(`.${relyingParty}`);
}

chrome.runtime.onMessageExternal.addListener(({conditional, method, details}, {origin}, sendReceipt) => {
  if (conditional) conditionalChallenges.add(conditional);
  if (method && mayReport(origin, details.rpId)) ask({kind: 'signal', method, origin, details}, () => {});
  sendReceipt(true);
});

chrome.action.onClicked.addListener(() => ask({kind: 'configure'}, () => {}));

// Opens the lab's page in the first tab. The lab leaves this to the worker, since a page that runs before the
// worker is attached would ask the browser itself.
async function openStartPage() {
  const start = await fetch('start.json').catch(() => null);
  const [tab] = await chrome.tabs.query({});
  if (start) chrome.tabs.update(tab.id, await start.json());
}

async function attach() {
  const flaw = await proxy.attach();
  if (flaw) chrome.action.setTitle({title: `The lab gets no passkey requests: ${flaw}`});
}

const attached = attach();
chrome.runtime.onInstalled.addListener(() => attached.then(openStartPage));
chrome.runtime.onStartup.addListener(() => attached);
