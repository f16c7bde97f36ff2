// The frame of another origin: signs in when it is shown, and tells the page that holds it.

import { ask, optionsFor } from './relying-party.js';

const [parentOrigin] = location.ancestorOrigins;
const tell = (message) => parent.postMessage(message, parentOrigin);

try {
  const wish = JSON.parse(decodeURIComponent(location.hash.slice(1)));
  const options = await optionsFor(wish);
  tell({ options });
  tell({ review: await ask(wish, options) });
} catch (error) {
  tell({ error: { name: error.name, message: error.message } });
}
