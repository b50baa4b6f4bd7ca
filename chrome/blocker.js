/**
 * Keeps chosen resources away from pages: the host asks the chrome before each request of a page, and
 * what a list names is denied. Pages whose switch is off are not asked about, and not slowed.
 */

/** What a person who has never seen the list finds in it. */
export const EXAMPLES = ['# One a line: a host with all below it, or a part of an address, with * for anything.', 'ads.example', '*/tracking/*.gif'];
const MOST_LINES = 5000;
const LONGEST_LINE = 500;

/**
 * @param {string[]} lines  "host", or a pattern with a slash or an asterisk; "#" begins a remark
 * @returns {(url: string) => string} the line that names the address; empty if none does
 */
export function makeMatcher(lines) {
  const hosts = new Map();
  const patterns = [];
  for (const text of lines.slice(0, MOST_LINES)) {
    const line = text.trim().toLowerCase().slice(0, LONGEST_LINE);
    if (!line || line.startsWith('#')) continue;
    if (/[/*]/.test(line)) patterns.push([line.split('*').filter(Boolean), line]);
    else hosts.set(line, line);
  }
  return (url) => {
    const address = url.toLowerCase();
    for (let host = hostOf(address); host; host = host.includes('.') ? host.slice(host.indexOf('.') + 1) : '') {
      if (hosts.has(host)) return hosts.get(host);
    }
    return patterns.find(([parts]) => parts.length > 0 && hasInOrder(address, parts))?.[1] ?? '';
  };
}

function hostOf(url) {
  try {
    return new URL(url).hostname;
  } catch {
    return '';
  }
}

/** Not a regular expression: lines are a person's, and must not take longer than the address is long. */
function hasInOrder(text, parts) {
  let at = 0;
  for (const part of parts) {
    at = text.indexOf(part, at);
    if (at < 0) return false;
    at += part.length;
  }
  return true;
}

/** The list, and the switch and the count of every tab (`blocks`, `blocked`). Reports "change". */
export class Blocker extends EventTarget {
  #store;
  #matches;

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => void}} store */
  constructor(tabs, store) {
    super();
    this.#store = store;
    this.#matches = makeMatcher(this.lines);
    tabs.addEventListener('created', ({ detail: tab }) => this.#listen(tab));
  }

  /** @returns {string[]} */
  get lines() {
    return this.#store.get('blocker')?.lines ?? EXAMPLES;
  }

  set lines(lines) {
    this.#store.set('blocker', { ...this.#store.get('blocker'), lines });
    this.#matches = makeMatcher(lines);
    this.dispatchEvent(new Event('change'));
  }

  /** Whether new tabs begin with it. */
  get isUsual() {
    return this.#store.get('blocker')?.isUsual === true;
  }

  /** For this tab from now on, and for those that open later. */
  switch(tab, on) {
    this.#store.set('blocker', { ...this.#store.get('blocker'), isUsual: on });
    this.#turn(tab, on);
    this.dispatchEvent(new Event('change'));
  }

  #turn(tab, on) {
    tab.blocks = on;
    if (tab.ready) tab.view.setEnableNetworkResourceRequestedEvents(on);
  }

  #listen(tab) {
    tab.blocked = [];
    tab.view.on('NetworkResourceRequested', ({ data: { url, targetType } }) => {
      // Documents that the user requested are never blocked. They reset the count, since LocationChange
      // arrives later than their requests.
      const isPage = targetType === 'TargetIsMainFrame';
      if (isPage) this.#count(tab, []);
      const line = tab.blocks && !isPage ? this.#matches(url) : '';
      if (!line) return { setAction: 'ACCEPT' };
      this.#count(tab, [...tab.blocked, { url, line }]);
      return { setAction: 'DENY' };
    });
    // Listening has switched it on. A tab whose process ended keeps its setting.
    this.#turn(tab, tab.blocks ?? this.isUsual);
  }

  #count(tab, blocked) {
    if (!tab.blocked?.length && !blocked.length) return;
    tab.blocked = blocked;
    this.dispatchEvent(new CustomEvent('change', { detail: tab }));
  }
}
