// The requests that the page can make, in the order of its buttons.
//
// `wish` returns what the site's server makes the options from, and `signal` the name and the argument
// of one of the browser's signals, both for the passkey that the visitor has chosen. `expects` are the right endings:
// "accepted" by the site, "delivered" for a signal, or the name of the page's error. Those that end
// otherwise on an earlier macOS are `sinceMacOS15`.

const RELYING_PARTY = 'localhost';

const create = (more) => ({ ceremony: 'create', userVerification: 'preferred', ...more });
const get = (credentials, more) => ({
  ceremony: 'get',
  userVerification: 'preferred',
  credentials,
  ...more,
});

function unknownId() {
  const bytes = crypto.getRandomValues(new Uint8Array(32));
  return btoa(String.fromCharCode(...bytes))
    .replaceAll('+', '-')
    .replaceAll('/', '_')
    .replaceAll('=', '');
}

export const groups = [
  {
    heading: 'Make a passkey',
    requests: [
      {
        id: 'register',
        label: 'Register',
        about: 'The system shows the extension, which has the host make a passkey for a new user.',
        expects: ['accepted'],
        wish: () => create(),
      },
      {
        id: 'register-excluded',
        label: 'Register, though there is one',
        about: 'The site excludes the chosen passkey: the host must refuse, and the page learns why. Since macOS 15.',
        expects: ['InvalidStateError'],
        needsPasskey: true,
        sinceMacOS15: true,
        wish: ({ credentialID }) => create({ credentials: [credentialID] }),
      },
      {
        id: 'register-conditional',
        label: 'Register without the user',
        about: 'A conditional request, as after a sign-in with a password: no interface, made or refused at once.',
        expects: ['accepted', 'NotAllowedError'],
        wish: () => create({ conditional: true }),
      },
    ],
  },
  {
    heading: 'Sign in',
    requests: [
      {
        id: 'sign-in',
        label: 'Sign in with the chosen passkey',
        about: 'The system knows the passkey, so it asks silently first.',
        expects: ['accepted'],
        needsPasskey: true,
        wish: ({ credentialID }) => get([credentialID]),
      },
      {
        id: 'sign-in-verified',
        label: 'Sign in with the user verified',
        about: 'The host refuses the silent request with code 100, and the system asks again with the extension’s interface.',
        expects: ['accepted'],
        needsPasskey: true,
        wish: ({ credentialID }) => get([credentialID], { userVerification: 'required' }),
      },
      {
        id: 'sign-in-list',
        label: 'Sign in from the list',
        about: 'The site names no passkey: the extension’s list is asked for any of this site’s.',
        expects: ['accepted'],
        needsPasskey: true,
        wish: () => get([]),
      },
      {
        id: 'sign-in-unknown',
        label: 'Sign in with an unknown passkey',
        about: 'The site allows only a passkey that nobody has.',
        expects: ['NotAllowedError'],
        wish: () => get([unknownId()]),
      },
      {
        id: 'sign-in-frame',
        label: 'Sign in from a frame',
        about: 'A frame of another origin asks; the client data say that it was embedded.',
        expects: ['accepted'],
        needsPasskey: true,
        inFrame: true,
        wish: ({ credentialID }) => get([credentialID]),
      },
      {
        id: 'sign-in-aborted',
        label: 'Sign in, and abort',
        about: 'The page takes its request back before the host can answer.',
        expects: ['AbortError'],
        needsPasskey: true,
        aborts: true,
        wish: () => get([]),
      },
    ],
  },
  {
    heading: 'Report to the host',
    requests: [
      {
        id: 'signal-details',
        label: 'Report a new user name',
        about: 'signalCurrentUserDetails()',
        expects: ['delivered'],
        needsPasskey: true,
        signal: ({ userHandle, userName }) => [
          'signalCurrentUserDetails',
          {
            rpId: RELYING_PARTY,
            userId: userHandle,
            name: `${userName}, renamed`,
            displayName: `${userName}, renamed`,
          },
        ],
      },
      {
        id: 'signal-accepted',
        label: 'Report the accepted passkeys',
        about: 'signalAllAcceptedCredentials(), with the chosen passkey as the user’s only one',
        expects: ['delivered'],
        needsPasskey: true,
        signal: ({ userHandle, credentialID }) => [
          'signalAllAcceptedCredentials',
          { rpId: RELYING_PARTY, userId: userHandle, allAcceptedCredentialIds: [credentialID] },
        ],
      },
      {
        id: 'signal-unknown',
        label: 'Report an unknown passkey',
        about: 'signalUnknownCredential(), with a passkey that nobody has',
        expects: ['delivered'],
        signal: () => [
          'signalUnknownCredential',
          { rpId: RELYING_PARTY, credentialId: unknownId() },
        ],
      },
    ],
  },
];
