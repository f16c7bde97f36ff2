// Runs in every page, before the page's own scripts: tells the worker what the browser's proxy does not.

(() => {
  const worker = 'ndpbaafgcfnnpnjmgegomfcoiombhpon';
  // Missing where there are no passkeys, such as in a page that came without encryption.
  if (!window.PublicKeyCredential || !chrome.runtime?.sendMessage) return;

  // Resolves when the worker has it.
  const tell = (message) => new Promise((resolve) => chrome.runtime.sendMessage(worker, message, resolve));

  const base64Url = (source) => {
    const bytes = ArrayBuffer.isView(source)
      ? new Uint8Array(source.buffer, source.byteOffset, source.byteLength) : new Uint8Array(source);
    return btoa(Array.from(bytes, (byte) => String.fromCharCode(byte)).join('')).replaceAll('+', '-').replaceAll('/', '_').replaceAll('=', '');
  };

  // Keeps a port open until the request has its outcome. It closes with the page, too, which the proxy does not tell.
  async function holdPort(challenge, outcome) {
    const port = chrome.runtime.connect(worker, {name: base64Url(challenge)});
    await outcome.finally(() => port.disconnect());
  }

  for (const method of ['create', 'get']) {
    const original = CredentialsContainer.prototype[method];
    CredentialsContainer.prototype[method] = async function (options) {
      if (!options?.publicKey) return original.call(this, options);
      const {challenge} = options.publicKey;
      if (method === 'create' && options.mediation === 'conditional') await tell({conditional: base64Url(challenge)});
      const outcome = original.call(this, options);
      // The page gets the browser's outcome, even if there is no port.
      holdPort(challenge, outcome).catch(() => {});
      return outcome;
    };
  }

  for (const method of ['signalUnknownCredential', 'signalAllAcceptedCredentials', 'signalCurrentUserDetails']) {
    const original = PublicKeyCredential[method];
    if (!original) continue;
    PublicKeyCredential[method] = async function (details) {
      // First, since the browser knows whether the page may speak for the relying party.
      await original.call(this, details);
      await tell({method, details});
    };
  }
})();
