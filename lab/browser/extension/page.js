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
    return btoa(String.fromCharCode(...bytes)).replaceAll('+', '-').replaceAll('/', '_').replaceAll('=', '');
  };

  const create = CredentialsContainer.prototype.create;
  CredentialsContainer.prototype.create = async function (options) {
    if (options?.mediation === 'conditional' && options.publicKey) {
      await tell({conditional: base64Url(options.publicKey.challenge)});
    }
    return create.call(this, options);
  };

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
