/**
 * What the chrome remembers from one start to the next. Its storage is among what a person clears
 * as the data of pages: all of it is read before, and written again after that.
 */

const PREFIX = 'pagehost.';
const MARKER = `${PREFIX}clearing`;
const CLEARED_WITHIN = 5000;
const LOOK_EVERY = 20;

export class Store {
  #storage;
  #values = new Map();

  /** @param {Storage} storage */
  constructor(storage) {
    this.#storage = storage;
    // Another window of the program has written.
    globalThis.addEventListener?.('storage', ({ key }) => this.#values.delete(key?.slice(PREFIX.length)));
  }

  get(name) {
    if (!this.#values.has(name)) this.#values.set(name, parsed(this.#storage.getItem(PREFIX + name)));
    return this.#values.get(name);
  }

  /** @returns {boolean} whether it will be there at the next start */
  set(name, value) {
    this.#values.set(name, value);
    try {
      this.#storage.setItem(PREFIX + name, JSON.stringify(value));
      return true;
    } catch {
      // Storage is full, and has what was there before.
      return false;
    }
  }

  /** Runs what clears the storage. The end of that is not reported; the marker shows it. */
  async outlive(clear) {
    const kept = this.#texts();
    this.#storage.setItem(MARKER, '1');
    clear();
    const end = Date.now() + CLEARED_WITHIN;
    while (this.#storage.getItem(MARKER) !== null && Date.now() < end) {
      await new Promise((resolve) => { setTimeout(resolve, LOOK_EVERY); });
    }
    this.#storage.removeItem(MARKER);
    for (const [name, text] of kept) {
      // What was set meanwhile is newer.
      if (!this.#values.has(name)) this.#storage.setItem(PREFIX + name, text);
    }
    for (const [name, value] of this.#values) if (value !== null) this.set(name, value);
  }

  /** All that is kept, also what this run has not asked for. @returns {[string, string][]} */
  #texts() {
    const keys = Array.from({ length: this.#storage.length }, (_, index) => this.#storage.key(index));
    return keys.filter((key) => key.startsWith(PREFIX)).map((key) => [key.slice(PREFIX.length), this.#storage.getItem(key)]);
  }
}

function parsed(text) {
  try {
    return JSON.parse(text);
  } catch {
    return null;
  }
}
