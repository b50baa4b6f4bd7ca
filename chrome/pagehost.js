/**
 * The native side, as modules like to see it: calls, web views, events, errors, animations.
 * Everything that has native functions can import it: `import { WebView } from 'pagehost:pagehost.js'`.
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

/** Events that take a setting of the web view besides. */
const SWITCHES = [
  [/^NetworkResource/, 'setEnableNetworkResourceRequestedEvents'],
  [/^InputNotification/, 'setEnableInputNotifications'],
  [/^FullScreenVideo/, 'setFullScreenVideoCapable'],
];

/** Property values cross as text; these are worth more as something else. */
const PROPERTY_VALUE = {
  CanGoBack: (text) => text === 'true',
  CanGoForward: (text) => text === 'true',
  LoadProgress: Number,
  Scale: Number,
};

/** How NetworkError says, in its status, that the process of the page has ended. */
const CAUSES = new Map([[-1, 'crashed'], [-2, 'memory'], [-3, 'ended']]);

/**
 * @type {{listeners: Map<number, Map<string, Set<Listener>>>, pending: Set<number>, reported: Map<number, Set<string>>,
 *   pictures: Map<number, Promise<unknown>>, animations: Map<number, () => void>}}
 */
const hub = globalThis[Symbol.for('pagehost.hub')] ??= {
  listeners: new Map(),
  /** Web views that were asked for and have not said Created. */
  pending: new Set(),
  /** Which properties the host reports, per web view. */
  reported: new Map(),
  /** The end of the row of those who wait for a picture, per web view. */
  pictures: new Map(),
  /** Who waits for the end of an animation. */
  animations: new Map(),
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

/** All native functions, by their groups: `native.application.requestExit()`. */
export const native = new Proxy({}, { get: (_, group) => groups()[group] });

function groups() {
  if (groups.made) return groups.made;
  const made = {};
  for (const full of listBindings()) {
    const [group, name] = full.split('.');
    (made[group] ??= {})[name] = (...args) => call(full, ...args);
  }
  return (groups.made = made);
}

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
  hub.pending.delete(handle);
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
  for (const record of [hub.listeners, hub.pending, hub.reported, hub.pictures]) record.delete(handle);
}

/**
 * A web view. Every native function "webview.NAME" of this host is a method
 * NAME that passes the handle by itself: `view.loadURL(url)`, `view.title()`.
 * All of them return text; mind that "0" and "false" are true in an `if`.
 *
 * Before `Created` the host takes no commands. Methods are kept until then, in their
 * order, and give "": who needs an answer waits for `view.created`.
 */
export class WebView {
  /** @param {number|string} handle */
  constructor(handle) {
    this.handle = Number(handle);
    if (!Number.isInteger(this.handle) || this.handle < ROOT) throw new TypeError(`"${handle}" is no web view.`);
    defineCommands();
  }

  /**
   * Asks for a new web view.
   * @param {string} [group]    the window group; the chrome's own by default
   * @param {string} [process]  in which process; the host's own by default
   */
  static create(group = WebView.root.applicationWindowGroup(), process) {
    const wish = process === undefined ? [group] : [group, process];
    const handle = Number(call('webview.create', ...wish));
    if (!handle) throw new Error('The host could not create a web view.');
    hub.pending.add(handle);
    return new WebView(handle);
  }

  /**
   * All web views but the chrome's. A chrome that was loaded again, or has crashed, finds those of
   * its former document here, and keeps them by asking.
   */
  static list() {
    return JSON.parse(call('webview.list')).map((handle) => new WebView(handle));
  }

  /** The web view that shows the chrome. */
  static get root() {
    return new WebView(ROOT);
  }

  /** @returns {Promise<WebView>} rejected if the web view ends before it began */
  get created() {
    if (!hub.pending.has(this.handle)) return Promise.resolve(this);
    return new Promise((resolve, reject) => {
      const off = this.#onGone(() => reject(new Error(`Web view ${this.handle} was never created.`)));
      this.whenCreated(() => {
        off();
        resolve(this);
      });
    });
  }

  /** Runs the action inside "Created", or now if that is past. */
  whenCreated(action) {
    if (!hub.pending.has(this.handle)) return action();
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
      this.whenCreated(() => {
        call('webview.setWebEventEnabled', this.handle, name, true);
        const [, setting] = SWITCHES.find(([names]) => names.test(name)) ?? [];
        if (setting) call(`webview.${setting}`, this.handle, true);
      });
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
    const reported = hub.reported.get(this.handle) ?? new Set();
    if (!reported.has(property)) {
      const isFirst = !reported.size;
      hub.reported.set(this.handle, reported.add(property));
      this.whenCreated(() => {
        if (isFirst) call('webview.setWebEventEnabled', this.handle, 'PropertyChanged', true);
        call('webview.setPropertyChangedEventEnabled', this.handle, property, true);
      });
    }
    const value = PROPERTY_VALUE[property] ?? String;
    return subscribe(this.handle, `Property${property}Event`, ({ text }) => void listener(value(text)));
  }

  /**
   * Listens to the end of the process that shows the page. After the causes "crashed", "memory" (it
   * took too much) and "ended" (somebody killed it) the web view is there, and loads again; after
   * "host" it is gone: its child process has ended.
   * @param {(end: {cause: 'crashed'|'memory'|'ended'|'host', isGone: boolean}) => (object|void)} listener
   * @returns {() => void} ends the listening
   */
  onProcessEnd(listener) {
    const offs = [
      this.on('NetworkError', ({ data }) => {
        const cause = CAUSES.get(data.status);
        return cause && listener({ cause, isGone: false });
      }),
      this.on('ProcessCrash', () => void listener({ cause: 'host', isGone: true })),
    ];
    return () => offs.forEach((off) => off());
  }

  /** @returns {Promise<void>} when the document has loaded; rejected, with url and status, when it has not */
  load(url) {
    let problem;
    return this.#wait((settle, listen) => {
      listen('NetworkError', ({ data }) => { problem = Object.assign(new Error(data.message), { url: data.url, status: data.status }); });
      listen('DocumentLoadFinished', () => settle());
      listen('DocumentLoadFailed', () => settle(problem ?? new Error(`${url} could not be loaded.`)));
      call('webview.loadURL', this.handle, url);
    });
  }

  /** @returns {Promise<string>} the value of a script that runs in the page, as text; rejected with what it throws */
  run(script, world = 'NormalWorld') {
    return this.#wait((settle, listen) => {
      let id;
      listen('JavaScriptResult', ({ data }) => {
        if (data.resultId !== id) return;
        const failed = data.resultType === 'JSException';
        settle(failed && new Error(data.resultString), data.resultString);
      });
      id = call('webview.executeJavaScript', this.handle, script, world);
    });
  }

  /** @returns {Promise<{isMatched: boolean, numMatches: number, currentIndex: number}>} */
  find(text, ...options) {
    return this.#wait((settle, listen) => {
      listen('FindString', ({ data }) => data.text === String(text) && settle(null, data));
      call('webview.findString', this.handle, text, ...options);
    });
  }

  /**
   * A picture of the page, all of it if no part of it is named. One at a time: an answer does not say
   * what it answers.
   * @returns {Promise<string>} a data: address; empty if there is nothing to see
   */
  capture({ scale = 1, part = { x: 0, y: 0, width: 0, height: 0 }, size = { width: 0, height: 0 } } = {}) {
    const take = () => this.#wait((settle, listen) => {
      listen('CaptureContents', ({ data: { base64PNGImage: image } }) => settle(null, image && `data:image/png;base64,${image}`));
      call('webview.captureContents', this.handle, scale, JSON.stringify(part), JSON.stringify(size));
    });
    const picture = (hub.pictures.get(this.handle) ?? Promise.resolve()).then(() => {
      if (!hub.pictures.has(this.handle)) throw new Error(`Web view ${this.handle} has ended.`);
      return take();
    });
    hub.pictures.set(this.handle, picture.catch(() => {}));
    return picture;
  }

  /** @returns {Promise<string[]>} */
  cookies(url) {
    return this.#wait((settle, listen) => {
      listen('CookieResult', ({ data }) => data.url === url && settle(null, data.cookies));
      call('webview.getCookies', this.handle, url);
    });
  }

  /** Its window, for native functions that want one: a number that is no handle of a web view. */
  get window() {
    const window = Number(call('webview.jsScreenWindowHandle', this.handle));
    if (!window) throw new Error(`Web view ${this.handle} has no window.`);
    return window;
  }

  /** Deletes the web view. The host reports no end of it, so this is the end here, too. */
  delete() {
    const gone = [...(hub.listeners.get(this.handle)?.get(GONE) ?? [])];
    forget(this.handle);
    call('webview.delete', this.handle);
    for (const listener of gone) listener();
  }

  /** Also of one that this chrome deletes itself. */
  #onGone(listener) {
    const offs = ['Destroyed', 'ProcessCrash'].map((end) => this.on(end, listener));
    offs.push(subscribe(this.handle, GONE, listener));
    return () => offs.forEach((off) => off());
  }

  /** Listens until it is settled; the end of the web view is a failure. */
  async #wait(begin) {
    await this.created;
    return new Promise((resolve, reject) => {
      const offs = [];
      const settle = (problem, value) => {
        offs.forEach((off) => off());
        if (problem) reject(problem); else resolve(value);
      };
      offs.push(this.#onGone(() => settle(new Error(`Web view ${this.handle} has ended.`))));
      begin(settle, (name, listener) => offs.push(this.on(name, (event) => void listener(event))));
    });
  }
}

/** No event of the host's. */
const GONE = Symbol('gone');

/** Functions "webview.NAME" that take no handle. */
const OF_NO_VIEW = new Set(['create', 'list']);

/** The host knows best what a web view can do; a command it lacks is no method here. */
function defineCommands() {
  if (defineCommands.done) return;
  for (const name of listBindings()) {
    const [, command] = /^webview\.(\w+)$/.exec(name) ?? [];
    if (!command || OF_NO_VIEW.has(command) || command in WebView.prototype) continue;
    WebView.prototype[command] = function (...args) {
      if (!hub.pending.has(this.handle)) return call(name, this.handle, ...args);
      this.whenCreated(() => call(name, this.handle, ...args));
      return '';
    };
  }
  defineCommands.done = true;
}

/** What moves: a web view, or the number of a window. */
function windowOf({ view, window }) {
  const number = view instanceof WebView ? view.window : Number(window);
  if (view && !(view instanceof WebView)) throw new TypeError('That is no WebView.');
  if (!Number.isInteger(number) || number <= 0) throw new TypeError(`"${window}" is no window.`);
  return number;
}

/**
 * Moves or fades windows together.
 * @param {{curve?: 'Linear'|'EaseInCurve'|'EaseOutCurve', duration: number}} timing  milliseconds
 * @param {{view?: WebView, window?: string|number, from: number[], to: number[]}[]} changes
 *   places as [x, y], or alphas of 0 to 255 as [alpha]
 * @returns {Promise<void> & {ids: number[]}} when the last of them has ended; ids begin at 1
 */
export function animate({ curve = 'Linear', duration }, changes) {
  const there = changes.map(({ from, to, ...what }) => {
    if (from.length !== to.length || ![1, 2].includes(from.length)) throw new TypeError('A change goes from [x, y] to [x, y], or from [alpha] to [alpha].');
    return { window: windowOf(what), from, to };
  });
  const kinds = [['animateWindowLocationMultiple', 2], ['animateGlobalAlphaMultiple', 1]];
  const ids = kinds.flatMap(([name, size]) => {
    const some = there.filter(({ from }) => from.length === size);
    if (!some.length) return [];
    const last = Number(call(`windowAnimations.${name}`, curve, duration, ...some.flatMap(({ window, from, to }) => [window, ...from, ...to])));
    call('windowAnimations.startAnimation');
    // The host counts from 0.
    return some.map((_, i) => last + 1 - i);
  });
  const ends = ids.map((id) => new Promise((resolve) => hub.animations.set(id, resolve)));
  return Object.assign(Promise.all(ends).then(() => {}), { ids });
}

// Shared: other modules add their functions to these objects.
const chrome = (globalThis.chrome ??= {});
chrome.internal = {
  ...chrome.internal,
  webEvent: dispatch,
  windowAnimations: {
    ...chrome.internal?.windowAnimations,
    onWindowAnimationFinished(id) {
      hub.animations.get(id + 1)?.();
      hub.animations.delete(id + 1);
    },
  },
};
chrome.native = {
  ...chrome.native,
  // The host has logged it already.
  error(message) {
    dispatch(EVERY_VIEW, 'errors', message);
  },
};
