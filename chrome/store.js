/**
 * What the chrome remembers from one start to the next. Its storage is among what a person clears
 * as the data of pages: the values are kept in memory too, and written again after that.
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
      // Storage is full. A partial value would be worse than none.
      this.#storage.removeItem(PREFIX + name);
      return false;
    }
  }

  /** Runs what clears the storage. The end of that is not reported; the marker shows it. */
  async outlive(clear) {
    this.#storage.setItem(MARKER, '1');
    clear();
    const end = Date.now() + CLEARED_WITHIN;
    while (this.#storage.getItem(MARKER) !== null && Date.now() < end) {
      await new Promise((resolve) => { setTimeout(resolve, LOOK_EVERY); });
    }
    this.#storage.removeItem(MARKER);
    for (const [name, value] of this.#values) if (value !== null) this.set(name, value);
  }
}

function parsed(text) {
  try {
    return JSON.parse(text);
  } catch {
    return null;
  }
}
