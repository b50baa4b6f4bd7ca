/**
 * Objects that programs share: small named sets of attributes, each a file. The chrome opens them,
 * writes to them, and hears of what others write.
 */

import { call } from './pagehost.js';

/** Flags of opening, as the host adds them up. */
const READ_AND_WRITE = 2;
const CREATE = 64;
const FOR_THE_USER_ALONE = 0o600;

/** What there is one of, even if this module is loaded twice: the ids belong to the whole chrome. */
const hub = globalThis[Symbol.for('pagehost.objects')] ??= {
  objects: new Map(),
  // Objects opened by an earlier load of the chrome may still be open, under their ids.
  lastId: Math.floor(Math.random() * 2 ** 30),
};

/**
 * An open object. Reports "change" when its attributes have changed, "failed" with a text as its
 * detail, "closed", and before any of them "event" with what the host said.
 */
export class SharedObject extends EventTarget {
  /** @type {Record<string, any>} */
  attributes = {};
  isOpen = false;
  name = '';
  #id = 0;

  /** @param {string} path  below the host's root for objects */
  constructor(path) {
    super();
    this.path = path;
  }

  /** @returns {boolean} whether it is open; the host's log tells why not */
  open({ create = true } = {}) {
    if (this.isOpen) return true;
    const flags = READ_AND_WRITE + (create ? CREATE : 0);
    // The host keeps an id until it has reported Closed for its object.
    hub.objects.delete(this.#id);
    this.#id = ++hub.lastId;
    const { result, data } = JSON.parse(call('pps.open', this.#id, this.path, 0, flags, FOR_THE_USER_ALONE) || '{}');
    this.isOpen = result === true;
    if (!this.isOpen) return false;
    hub.objects.set(this.#id, this);
    this.#take(data);
    return true;
  }

  /** Attributes that are not named stay; null takes one away. */
  write(attributes) {
    return call('pps.write', this.#id, JSON.stringify(attributes)) === 'true';
  }

  /** "closed" follows, unless it is opened again before. */
  close() {
    this.isOpen = false;
    call('pps.close', this.#id);
  }

  /** For the host. */
  onEvent(event, text) {
    this.#report('event', { event, text });
    if (event === 'NewData' || event === 'FirstReadComplete') {
      this.#take(JSON.parse(text));
      this.#report('change');
    } else if (event.endsWith('Failed')) {
      this.#report('failed', text);
    }
    if (event !== 'Closed' && event !== 'OpenFailed') return;
    this.isOpen = false;
    hub.objects.delete(this.#id);
    this.#report('closed');
  }

  #take(data) {
    [[this.name, this.attributes]] = Object.entries(data);
  }

  #report(type, detail) {
    this.dispatchEvent(Object.assign(new Event(type), { detail }));
  }
}

const chrome = (globalThis.chrome ??= {});
chrome.internal = { ...chrome.internal, pps: { onEvent: (id, event, text) => hub.objects.get(id)?.onEvent(event, text) } };

/** A value as a person edits it: texts as they are, the rest as JSON. */
export const textOfValue = (value) => (typeof value === 'string' ? value : JSON.stringify(value));

/** What a person means: a text stays one if it was one, else it is JSON if it can be. */
export function valueOfText(text, before) {
  if (typeof before === 'string') return text;
  try {
    return JSON.parse(text);
  } catch {
    return text;
  }
}
