/** Pages that a person wants to find again, in the order in which they were added. */

const MOST = 2000;

/** Reports "change". */
export class Bookmarks extends EventTarget {
  #store;

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => boolean}} store */
  constructor(store) {
    super();
    this.#store = store;
  }

  /** @returns {{url: string, title: string, icon?: string}[]} */
  get list() {
    const kept = this.#store.get('bookmarks');
    return Array.isArray(kept) ? kept : [];
  }

  has(url) {
    return this.list.some((each) => each.url === url);
  }

  /** Adds the page, or takes it away. @returns {boolean} whether it is one now */
  toggle({ url, title }) {
    if (this.has(url)) {
      this.remove(url);
      return false;
    }
    this.#keep([...this.list, { url, title }].slice(-MOST));
    return true;
  }

  rename(url, title) {
    this.#keep(this.list.map((each) => (each.url === url ? { ...each, title } : each)));
  }

  remove(url) {
    this.#keep(this.list.filter((each) => each.url !== url));
  }

  #keep(list) {
    this.#store.set('bookmarks', list);
    this.dispatchEvent(new Event('change'));
  }
}
