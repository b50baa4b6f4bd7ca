/**
 * The native side, as modules like to see it: calls, web views, events, errors.
 *
 * What listeners are registered lives in one record on globalThis, not in this
 * module. The module may be loaded twice (under two URLs, or again by an
 * extension of the chrome); both copies then share listeners, and an event is
 * dispatched once.
 */

/**
 * An event of a web view, or an error text of the host (name "errors", handle 0).
 * @typedef {object} HostEvent
 * @property {number} handle   the web view it came from
 * @property {string} name     for example "DocumentLoadFinished"
 * @property {string} text     the data as the host sent it
 * @property {any} data        the data parsed, if it is JSON; otherwise the text
 * @property {number} integer
 *
 * A listener of a synchronous event may return an object of setters, for
 * example `{setPreventDefault: true}`. Promises are no answer: the host does not wait.
 * @typedef {(event: HostEvent) => (object|void)} Listener
 */

export const MISSING = 'No native functions here: this page works only inside pagehost.';
const EVERY_VIEW = 0;
const ROOT = 1;

/** Nobody has to enable these, and the host's own are not the engine's to enable. */
const ALWAYS_SENT = new Set(['Created', 'Destroyed', 'ProcessCrash', 'ReloadScheduled', 'MemoryExceeded']);
const isPropertyEvent = (name) => /^Property.+Event$/.test(name);

/** Property values cross as text; these are worth more as something else. */
const PROPERTY_VALUE = {
  CanGoBack: (text) => text === 'true',
  CanGoForward: (text) => text === 'true',
  LoadProgress: Number,
  Scale: Number,
};

/** @type {{listeners: Map<number, Map<string, Set<Listener>>>, created: Set<number>}} */
const hub = globalThis[Symbol.for('pagehost.hub')] ??= {
  listeners: new Map(),
  created: new Set([ROOT]),
};

/** Whether the page runs inside the host. */
export const isHosted = () => typeof globalThis.orv?.callNative === 'function';

/**
 * Calls a native function. Arguments cross as text, and so does the result.
 * @param {string} name  the full name, for example "webview.create"
 * @param {...unknown} args
 * @returns {string}
 */
export function call(name, ...args) {
  if (!isHosted()) throw new Error(MISSING);
  return globalThis.orv.callNative(name, ...args) ?? '';
}

/** The names of all native functions. */
export const listBindings = () => call('bindingManager.listBindings').split('\n').filter(Boolean);

/**
 * Listens to an event of every web view, or to "errors".
 * @param {string} name
 * @param {Listener} listener
 * @returns {() => void} ends the listening
 */
export const on = (name, listener) => subscribe(EVERY_VIEW, name, listener);

function subscribe(handle, name, listener) {
  const ofView = hub.listeners.get(handle) ?? new Map();
  const ofName = ofView.get(name) ?? new Set();
  hub.listeners.set(handle, ofView.set(name, ofName.add(listener)));
  return () => ofName.delete(listener);
}

function parse(name, text) {
  if (isPropertyEvent(name) || !/^[{[]/.test(text)) return text;
  try {
    return JSON.parse(text);
  } catch {
    return text;
  }
}

/** @returns {string|undefined} what the listeners answered, as JSON; the host reads it */
function dispatch(handle, name, text = '', integer = 0) {
  if (name === 'Created') hub.created.add(handle);
  const event = { handle, name, text, integer, data: parse(name, text) };
  let answer;
  for (const key of new Set([handle, EVERY_VIEW])) {
    for (const listener of [...(hub.listeners.get(key)?.get(name) ?? [])]) {
      try {
        const setters = listener(event);
        if (setters && typeof setters === 'object' && !setters.then) answer = { ...answer, ...setters };
      } catch (error) {
        // A failing listener must not prevent the others, nor the page's answer.
        console.error(`A listener of "${name}" failed:`, error);
      }
    }
  }
  if (name === 'Destroyed' || name === 'ProcessCrash') forget(handle);
  return answer && JSON.stringify(answer);
}

function forget(handle) {
  hub.listeners.delete(handle);
  hub.created.delete(handle);
}

/**
 * A web view. Every native function "webview.NAME" of this host is a method
 * NAME that passes the handle by itself: `view.loadURL(url)`, `view.title()`.
 * All of them return text; mind that "0" and "false" are true in an `if`.
 */
export class WebView {
  /** @param {number|string} handle */
  constructor(handle) {
    this.handle = Number(handle);
    defineCommands();
  }

  /**
   * Asks for a new web view. It exists only after "Created": commands belong
   * into `whenCreated`, or after `await view.created`.
   * @param {string} [group]    the window group; the chrome's own by default
   * @param {string} [process]  in which process; the host's own by default
   */
  static create(group = WebView.root.applicationWindowGroup(), process) {
    const wish = process === undefined ? [group] : [group, process];
    const handle = Number(call('webview.create', ...wish));
    if (!handle) throw new Error('The host could not create a web view.');
    return new WebView(handle);
  }

  /** One that is there already, of a chrome before this one (webview.list): it takes commands at once. */
  static adopt(handle) {
    hub.created.add(Number(handle));
    return new WebView(handle);
  }

  /** The web view that shows the chrome. */
  static get root() {
    return new WebView(ROOT);
  }

  /** @returns {Promise<WebView>} rejected if the web view ends before it began */
  get created() {
    return new Promise((resolve, reject) => {
      this.whenCreated(() => resolve(this));
      const failed = () => reject(new Error(`Web view ${this.handle} was never created.`));
      for (const end of ['Destroyed', 'ProcessCrash']) this.on(end, failed);
    });
  }

  /** Runs the action inside "Created", or now if that is past. */
  whenCreated(action) {
    if (hub.created.has(this.handle)) return action();
    const off = this.on('Created', () => {
      off();
      action();
    });
  }

  /**
   * Listens to an event of this web view, and has the host send it.
   * @param {string} name
   * @param {Listener} listener
   * @returns {() => void} ends the listening
   */
  on(name, listener) {
    if (!ALWAYS_SENT.has(name) && !isPropertyEvent(name)) {
      this.whenCreated(() => call('webview.setWebEventEnabled', this.handle, name, true));
    }
    return subscribe(this.handle, name, listener);
  }

  /**
   * Listens to the changes of a property, and has the host report them.
   * @param {string} property  for example "Title"
   * @param {(value: any) => void} listener
   * @returns {() => void} ends the listening
   */
  onProperty(property, listener) {
    this.whenCreated(() => {
      call('webview.setWebEventEnabled', this.handle, 'PropertyChanged', true);
      call('webview.setPropertyChangedEventEnabled', this.handle, property, true);
    });
    const value = PROPERTY_VALUE[property] ?? String;
    return subscribe(this.handle, `Property${property}Event`, ({ text }) => void listener(value(text)));
  }

  /** Deletes the web view. The host reports no end of it, so this is the end here, too. */
  delete() {
    forget(this.handle);
    call('webview.delete', this.handle);
  }
}

/** The host knows best what a web view can do; a command it lacks is no method here. */
function defineCommands() {
  if (defineCommands.done) return;
  for (const name of listBindings()) {
    const [, command] = /^webview\.(\w+)$/.exec(name) ?? [];
    if (!command || command === 'create' || command in WebView.prototype) continue;
    WebView.prototype[command] = function (...args) {
      return call(name, this.handle, ...args);
    };
  }
  defineCommands.done = true;
}

// Shared: other modules add their functions to these objects.
const chrome = (globalThis.chrome ??= {});
chrome.internal = { ...chrome.internal, webEvent: dispatch };
chrome.native = {
  ...chrome.native,
  error(message) {
    console.error(message);
    dispatch(EVERY_VIEW, 'errors', message);
  },
};
