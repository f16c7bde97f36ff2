// Talks to the site's server, for this page and for the frame in it.

async function post(path, body) {
  const response = await fetch(path, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(body),
  });
  if (!response.ok) {
    throw new Error(`The lab's site says: ${(await response.text()).trim()}`);
  }
  return response.json();
}

/** The passkeys that the site has accepted, and where the page is in another origin. */
export async function siteState() {
  return (await fetch('state')).json();
}

export const finish = (well) => post('finished', { well });

/** Options as the site makes them, for a wish as its server reads it. */
export const optionsFor = (wish) => post('options', wish);

/**
 * Asks the browser, and has the site judge the credential. Returns the site's review and the
 * milliseconds that the browser took; rejects with the browser's error.
 */
export async function ask(wish, options, signal) {
  const started = performance.now();
  const credential =
    wish.ceremony === 'create'
      ? await navigator.credentials.create({
          publicKey: PublicKeyCredential.parseCreationOptionsFromJSON(options),
          mediation: wish.conditional ? 'conditional' : undefined,
          signal,
        })
      : await navigator.credentials.get({
          publicKey: PublicKeyCredential.parseRequestOptionsFromJSON(options),
          signal,
        });
  const milliseconds = performance.now() - started;
  const review = await post('credentials', {
    challenge: options.challenge,
    credential: credential.toJSON(),
  });
  return { ...review, milliseconds };
}
