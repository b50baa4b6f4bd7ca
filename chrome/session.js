/** The open tabs, remembered: after the next start they can be opened again. Private ones are not. */

const isPage = (url) => /^(https?|file|data|local):/.test(url);

export class Session {
  /** What was open at the last end. @type {{url: string, title: string, state: string}[]} */
  lastTime;
  #tabs;
  #store;
  #isWorthIt;
  #states = new WeakMap();
  /** Whether this run has had a page that is worth it: until then the last one's are kept. */
  #hasOwn = false;

  /** @param {{isStart: (url: string) => boolean}} options  pages that nobody wants back */
  constructor(tabs, store, { isStart }) {
    this.#tabs = tabs;
    this.#store = store;
    this.#isWorthIt = (tab) => isPage(tab.url) && !isStart(tab.url) && !(tab.ready && tab.view.isPrivateBrowsing() === '1');
    const saved = store.get('session');
    this.lastTime = Array.isArray(saved) ? saved.filter(({ url }) => isPage(url ?? '')) : [];

    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('SessionInfo', ({ data }) => this.#keep(tab, data.data));
    });
    tabs.addEventListener('loaded', ({ detail: tab }) => this.#ask(tab));
    tabs.addEventListener('forgotten', ({ detail: tab }) => {
      // The host's text would still hold what was cleared.
      this.#keep(tab, '');
      tab.historyForgotten = true;
    });
    tabs.addEventListener('closed', () => this.#save());
  }

  restore() {
    const pages = this.lastTime;
    this.lastTime = [];
    for (const { url, title, state } of pages) this.#tabs.reopen(url, title, state);
  }

  #ask(tab) {
    if (tab.historyForgotten) return this.#keep(tab, '');
    if (tab.ready && this.#isWorthIt(tab)) tab.view.requestSession();
    return undefined;
  }

  #keep(tab, state) {
    this.#states.set(tab, state);
    this.#save();
  }

  #save() {
    const pages = this.#tabs.list.filter(this.#isWorthIt)
      .map((tab) => ({ url: tab.url, title: tab.title, state: this.#states.get(tab) ?? '' }));
    this.#hasOwn ||= pages.length > 0;
    if (!this.#hasOwn) return;
    // With the whole way of every tab it may be too much; the addresses always fit.
    if (!this.#store.set('session', pages)) this.#store.set('session', pages.map((page) => ({ ...page, state: '' })));
  }
}
