/** The open tabs, remembered: after the next start they can be opened again. Private ones are not. */

import { isPage } from './address.js';
import { HERE } from './processes.js';

/** A data: address may be as long as its page. */
const LONGEST_ADDRESS = 4000;
/** Much changes at once, while a tab is dragged for example, and the session is written as a whole. */
const WRITES_AFTER = 1000;

export class Session {
  /** What was open at the last end; those with the same number of a process lived together. @type {{url: string, title: string, state: string, process: number}[]} */
  lastTime;
  #tabs;
  #store;
  #isWorthIt;
  #states = new WeakMap();
  /** Whether this run has had a page that is worth it: until then the last one's are kept. */
  #hasOwn = false;
  #isFrozen = false;
  #isKept;
  #writing;

  /**
   * @param {object} options
   * @param {(url: string) => boolean} options.isStart  pages that nobody wants back
   * @param {boolean} [options.isKept]  whether it outlives the program
   */
  constructor(tabs, store, { isStart, isKept = true }) {
    this.#tabs = tabs;
    this.#store = store;
    this.#isKept = isKept;
    this.#isWorthIt = (tab) => isPage(tab.url) && tab.url.length <= LONGEST_ADDRESS && !isStart(tab.url) && !tab.isPrivate;
    const saved = isKept ? store.get('session') : null;
    this.lastTime = Array.isArray(saved) ? saved.filter(({ url }) => isPage(url)) : [];

    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('SessionInfo', ({ data }) => this.#keep(tab, data.data));
    });
    tabs.addEventListener('loaded', ({ detail: tab }) => this.#ask(tab));
    tabs.addEventListener('forgotten', ({ detail: tab }) => {
      // The host's serialised session would still contain the cleared history.
      this.#keep(tab, '');
      tab.historyForgotten = true;
    });
    for (const type of ['closed', 'moved']) tabs.addEventListener(type, () => this.#changed());
  }

  /** As it is now: what closes from here on closes with the window. */
  freeze() {
    this.write();
    this.#isFrozen = true;
  }

  thaw() {
    this.#isFrozen = false;
    this.#changed();
  }

  /** The pages of before are open: a chrome before this one had them, and what is known of them is asked for. */
  takeOver() {
    this.lastTime = [];
    for (const tab of this.#tabs.list) this.#ask(tab);
  }

  /** What is known of the way that a tab came, for `reopen`. */
  stateOf(tab) {
    return this.#states.get(tab) ?? '';
  }

  restore() {
    const pages = this.lastTime;
    this.lastTime = [];
    const processes = new Map([[0, HERE]]);
    for (const { url, title, state, process = 0, isPinned } of pages) {
      // Their numbers may be in use by others.
      if (!processes.has(process)) processes.set(process, this.#tabs.processes.fresh());
      this.#tabs.reopen(url, title, state, processes.get(process), { isPinned });
    }
  }

  #ask(tab) {
    if (tab.historyForgotten) return this.#keep(tab, '');
    if (tab.ready && this.#isWorthIt(tab)) tab.view.requestSession();
    return undefined;
  }

  #keep(tab, state) {
    this.#states.set(tab, state);
    this.#changed();
  }

  #changed() {
    if (this.#isFrozen || !this.#isKept) return;
    this.#writing ??= setTimeout(() => this.write(), WRITES_AFTER);
    // In node a timer keeps the program alive.
    this.#writing.unref?.();
  }

  /** Now, and not after a while. */
  write() {
    clearTimeout(this.#writing);
    this.#writing = undefined;
    if (this.#isFrozen || !this.#isKept) return;
    // An ended process may have had the number of a live one: each gets a number of its own here.
    const processes = [...new Set([HERE, ...this.#tabs.list.map(({ process }) => process)])];
    const pages = this.#tabs.list.filter(this.#isWorthIt).map((tab) => ({
      url: tab.url, title: tab.title, state: this.#states.get(tab) ?? '', process: processes.indexOf(tab.process), ...(tab.isPinned && { isPinned: true }),
    }));
    this.#hasOwn ||= pages.length > 0;
    if (!this.#hasOwn) return;
    // All tabs' histories may exceed the limit; the addresses always fit.
    if (!this.#store.set('session', pages)) this.#store.set('session', pages.map((page) => ({ ...page, state: '' })));
  }
}
