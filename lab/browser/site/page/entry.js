// One request in the list of those made: what was asked, which entry points ran, and what the answer was.

/** What each entry point is for. */
const ENTRY_POINTS = {
  'provideCredentialWithoutUserInteractionForRequest:': 'a sign-in, silently',
  'prepareInterfaceToProvideCredentialForRequest:': 'a sign-in, with the extension’s interface',
  'prepareCredentialListForServiceIdentifiers:requestParameters:': 'a sign-in, from the list',
  'prepareInterfaceForPasskeyRegistration:': 'a new passkey, with the extension’s interface',
  'performPasskeyRegistrationWithoutUserInteractionIfPossible:': 'a new passkey, silently',
  'prepareInterfaceForExtensionConfiguration': 'the extension’s configuration',
  'reportPublicKeyCredentialUpdateForRelyingParty:userHandle:newName:': 'a report: a new name',
  'reportUnknownPublicKeyCredentialForRelyingParty:credentialID:': 'a report: unknown passkey',
  'reportAllAcceptedPublicKeyCredentialsForRelyingParty:userHandle:acceptedCredentialIDs:':
    'a report: the accepted passkeys',
};

const VERDICTS = {
  holds: ['✓', 'Holds'],
  warns: ['!', 'Warning'],
  fails: ['✗', 'Wrong'],
  notChecked: ['?', 'Not checked'],
};

/** An element with attributes and children. Text is only ever text: it may be a stranger's. */
function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    made.setAttribute(key, value);
  }
  made.append(...children.filter((child) => child !== undefined && child !== ''));
  return made;
}

const milliseconds = (value) => `${value < 10 ? value.toFixed(1) : Math.round(value)} ms`;

const folded = (summary, content) =>
  element('details', {}, element('summary', {}, summary), content);

const json = (value) => element('pre', { tabindex: '0' }, JSON.stringify(value, null, 2));

function finding({ verdict, words, wanted, got, hint }) {
  const [mark, name] = VERDICTS[verdict] ?? VERDICTS.notChecked;
  const more = [
    ['wanted', wanted],
    ['got', got],
    ['hint', hint],
  ].filter(([, value]) => value);
  return element(
    'li',
    { class: verdict },
    element('span', { class: 'mark', role: 'img', 'aria-label': name }, mark),
    element(
      'div',
      {},
      element('span', {}, words),
      ...more.map(([title, value]) =>
        element('p', { class: 'detail' }, element('b', {}, title), ` ${value}`),
      ),
    ),
  );
}

const findings = (list) => element('ul', { class: 'findings' }, ...list.map(finding));

const details = (rows) =>
  element(
    'dl',
    {},
    ...rows.flatMap(([name, value]) => [element('dt', {}, name), element('dd', {}, value)]),
  );

/** Code that may be broken where its words begin. */
const code = (text) =>
  element('code', {}, ...text.split(/(?<=[.:])|(?=[A-Z])/).flatMap((part) => [element('wbr'), part]));

const entryPoint = (selector) =>
  element(
    'li',
    {},
    code(selector),
    ENTRY_POINTS[selector] ? element('span', { class: 'muted' }, ENTRY_POINTS[selector]) : '',
  );

export class Entry {
  /** Shows the entry on top of `list`, its parts empty, and folds what the others show. */
  constructor(list, label) {
    const number = list.childElementCount + 1;
    const id = `entry-${number}`;
    this.#badge = element('span', { class: 'badge waiting' }, 'waiting');
    this.#time = element('span', { class: 'muted' });
    this.#parts = ['Asked', 'Entry points', 'Answer'].map((heading) =>
      element('section', {}, element('h4', {}, heading)),
    );
    this.#untold = element('p', { class: 'muted' }, 'The lab has not told of it yet.');
    this.#parts[1].append(this.#untold);
    for (const open of list.querySelectorAll('details[open]')) {
      open.open = false;
    }
    list.prepend(
      element(
        'article',
        { 'aria-labelledby': id },
        element(
          'div',
          { class: 'bar' },
          element('h3', { id }, `${number}. ${label}`),
          this.#badge,
          this.#time,
        ),
        element('div', { class: 'parts' }, ...this.#parts),
      ),
    );
  }

  /** What the page calls, such as "navigator.credentials.get()", and with what. */
  asked(call, options) {
    this.#parts[0].append(element('p', {}, code(call)), folded('Options', json(options)));
  }

  /** What the system did, as the command told it. */
  told(story) {
    const [, part] = this.#parts;
    this.#untold.remove();
    const entryPoints = story.entryPoints ?? [];
    part.append(
      entryPoints.length > 0
        ? element('ol', {}, ...entryPoints.map(entryPoint))
        : element('p', { class: 'muted' }, 'None was called.'),
    );
    if (story.reason) {
      part.append(element('p', {}, story.reason));
    }
    if (typeof story.milliseconds === 'number') {
      part.append(
        element('p', { class: 'muted' }, `${milliseconds(story.milliseconds)} until the answer`),
      );
    }
  }

  accepted(review) {
    this.#time.append(milliseconds(review.milliseconds));
    const holding = review.findings.filter(({ verdict }) => verdict === 'holds');
    const others = review.findings.filter(({ verdict }) => verdict !== 'holds');
    const checks = folded(`${holding.length} checks hold`, findings(holding));
    checks.open = true;
    this.#parts[2].append(
      others.length > 0 ? findings(others) : '',
      checks,
      folded('Decoded', details(review.details)),
    );
  }

  /** How it ended, in place of an answer. */
  ended(...words) {
    this.#parts[2].append(...words.map((each) => element('p', {}, each)));
  }

  /** The last word on it: `kind` is "good", "bad" or "neutral". */
  verdict(kind, words) {
    this.#badge.className = `badge ${kind}`;
    this.#badge.textContent = words;
  }

  #badge;
  #time;
  #untold;
  #parts;
}
