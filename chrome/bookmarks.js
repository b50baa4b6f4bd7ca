/** Pages that a person wants to find again, in the order in which they were added. */

import { showToast } from './toast.js';
import { t } from './words.js';

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
    const { list } = this;
    if (list.length >= MOST) {
      showToast(t('There are {count} bookmarks, and there is no room for more.', { count: list.length }));
      return false;
    }
    this.#keep([...list, { url, title }]);
    return true;
  }

  rename(url, title) {
    this.#keep(this.list.map((each) => (each.url === url ? { ...each, title } : each)));
  }

  remove(url) {
    this.#keep(this.list.filter((each) => each.url !== url));
  }

  #keep(list) {
    if (!this.#store.set('bookmarks', list)) showToast(t('The bookmarks could not be written: what has changed is gone after the end of the program.'));
    this.dispatchEvent(new Event('change'));
  }
}
