/** The pages that were looked at, over all tabs but private ones. */

const MOST = 2000;
const LONGEST_ADDRESS = 2000;
/** Many pages may load at once, and the list is written as a whole. */
const WRITES_AFTER = 1500;
const isWorthIt = (url) => /^(https?|file):/.test(url) && url.length <= LONGEST_ADDRESS;

/** @typedef {{url: string, title: string, at: number, count: number}} Visit  `at` in milliseconds since 1970 */

/** Reports "change". */
export class Visited extends EventTarget {
  #store;
  #clock;
  /** By address, in the order of the last visit. @type {Map<string, Visit>} */
  #pages;
  #writing;

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => boolean}} store */
  constructor(tabs, store, clock = Date.now) {
    super();
    this.#store = store;
    this.#clock = clock;
    const kept = store.get('visited');
    this.#pages = new Map((Array.isArray(kept) ? kept : []).map((page) => [page.url, page]));
    tabs.addEventListener('loaded', ({ detail: tab }) => !tab.isPrivate && this.#add(tab));
    // Many pages give themselves a title later.
    tabs.addEventListener('change', ({ detail: tab }) => this.#name(tab));
  }

  /** The latest first. @returns {Visit[]} */
  get list() {
    return [...this.#pages.values()].reverse();
  }

  remove(url) {
    if (this.#pages.delete(url)) this.#changed();
  }

  clear() {
    this.#pages.clear();
    this.#changed();
    this.write();
  }

  /** Now, and not after a while. */
  write() {
    clearTimeout(this.#writing);
    this.#writing = undefined;
    let pages = [...this.#pages.values()];
    // What does not fit loses its older half.
    while (!this.#store.set('visited', pages) && pages.length > 1) pages = pages.slice(Math.ceil(pages.length / 2));
  }

  #add({ url, title }) {
    if (!isWorthIt(url)) return;
    const before = this.#pages.get(url);
    this.#pages.delete(url);
    this.#pages.set(url, { url, title: title || before?.title || '', at: this.#clock(), count: (before?.count ?? 0) + 1 });
    if (this.#pages.size > MOST) this.#pages.delete(this.#pages.keys().next().value);
    this.#changed();
  }

  #name({ url, title, isPrivate, loading }) {
    const page = this.#pages.get(url);
    if (!page || isPrivate || loading || !title || page.title === title) return;
    page.title = title;
    // Written with the next visit, or at the end: some pages give themselves another title every second.
    this.dispatchEvent(new Event('change'));
  }

  #changed() {
    this.dispatchEvent(new Event('change'));
    this.#writing ??= setTimeout(() => this.write(), WRITES_AFTER);
    // In node a timer keeps the program alive.
    this.#writing.unref?.();
  }
}
