/** What surrounds the program: its window's place on the desktop, the device, other applications. */

import { call, isHosted, WebView } from './pagehost.js';

const KEPT_NOTIFICATIONS = 30;
const SPACES = ['application', 'invocation'];

/** What each notification says about the state. */
const CHANGES = {
  onWindowState: (state) => ({ window: state }),
  onWindowActive: () => ({ active: true }),
  onWindowInactive: () => ({ active: false }),
  onWindowLock: () => ({ locked: 'true' }),
  onWindowUnlock: () => ({ locked: 'false' }),
  onIsDeviceLocked: (locked) => ({ locked }),
  onRotate: (orientation) => ({ rotation: orientation }),
  onLanguageChange: (language) => ({ language }),
  onRegionChange: (region) => ({ region }),
  onFontInfoChange: (family, pixels) => ({ font: { family, pixels } }),
};

/** Hears every notification; "change" after each, and an event named like each with its arguments. */
export class Platform extends EventTarget {
  state = { window: 'normal', active: false, locked: 'unknown', rotation: 'top_up', language: '', region: '', font: null, lowMemory: null };
  /** The newest first: {at, space, name, args}. */
  last = [];
  #clock;

  /** @param {{internal: object}} chrome  whose functions the host calls */
  constructor(chrome = globalThis.chrome, clock = () => new Date()) {
    super();
    this.#clock = clock;
    for (const space of SPACES) {
      // Creates a listener for any notification of the host, without a list of them.
      chrome.internal[space] = new Proxy({}, { get: (_, name) => (...args) => this.#hear(space, String(name), args) });
    }
  }

  /** Asks for what is told only when it changes. */
  ask() {
    if (!isHosted()) return;
    this.state.region ||= call('application.systemRegion');
    this.state.font ??= { family: call('application.systemFontFamily'), pixels: Number(call('application.systemFontSize')) };
    this.state.active = call('application.isForeground') === '1';
    call('application.isDeviceLocked');
  }

  #hear(space, name, args) {
    const at = this.#clock();
    this.last.unshift({ at, space, name, args });
    this.last.length = Math.min(this.last.length, KEPT_NOTIFICATIONS);
    Object.assign(this.state, CHANGES[name]?.(...args));
    if (name === 'onLowMemory') this.state.lowMemory = at;
    this.dispatchEvent(new CustomEvent(name, { detail: args }));
    this.dispatchEvent(new Event('change'));
  }
}

/** The address in a request of onInvoked; empty where there is none. */
export function invokedAddress(request) {
  try {
    const { uri } = JSON.parse(request);
    return typeof uri === 'string' ? uri : '';
  } catch {
    return '';
  }
}

/** What a good chrome does by itself when it is told. */
export function answerPlatform(platform, tabs) {
  // The page already has the size of its window.
  platform.addEventListener('onRotate', () => call('application.notifyRotateComplete'));
  platform.addEventListener('onLowMemory', () => {
    const views = tabs.list.filter(({ ready }) => ready).map(({ view }) => view);
    for (const { handle } of [WebView.root, ...views]) call('webview.notifySystemLowMemory', handle);
  });
}
