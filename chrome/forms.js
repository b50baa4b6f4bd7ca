/**
 * What was typed into fields before, as a list under the field that has the keyboard, in a web view
 * that lies over the page. And a log-in that a proxy took, for the other processes.
 */

import { escaped } from './dom.js';
import { call, listBindings, WebView } from './pagehost.js';

const ABOVE_PAGES = 900;
const ROW = 30;
const LEAST_WIDTH = 160;

/** The texts are a person's own, but came through pages: nothing of them may run. */
export function listOf(items) {
  return `<!doctype html><meta charset="utf-8"><meta name="color-scheme" content="light dark">
    <meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
    <style>
      body { margin: 0; height: 100vh; overflow: hidden; box-sizing: border-box; border: 1px solid #8888; font: 14px/${ROW}px system-ui, sans-serif; }
      a { display: block; height: ${ROW}px; padding: 0 10px; color: inherit; text-decoration: none; white-space: nowrap; overflow: hidden; text-overflow: ellipsis; }
      a:hover, a:focus { background: #3a76d6; color: #fff; outline: none; }
    </style>${items.map((item, index) => `<a href="#${index}">${escaped(item)}</a>`).join('')}`;
}

/**
 * Where the list lies: under the field, or above it where there is more room. Never over the chrome.
 * @param {{x, y, width, height}} field  in the page's own units
 * @param {{x, y, width, height}} room   the page's part of the window
 */
export function placeOfList(field, room, scale, rows) {
  const height = Math.min(rows * ROW + 2, room.height);
  const width = Math.min(Math.max(LEAST_WIDTH, Math.round(field.width * scale)), room.width);
  const within = (value, least, most) => Math.max(least, Math.min(value, most));
  const top = Math.round(field.y * scale);
  const bottom = Math.round((field.y + field.height) * scale);
  const y = bottom + height <= room.height || top < height ? bottom : top - height;
  return {
    x: room.x + within(Math.round(field.x * scale), 0, room.width - width),
    y: room.y + within(y, 0, room.height - height),
    width,
    height,
  };
}

export class FieldList {
  #view = null;
  /** What is offered, to which tab; null when nothing is. */
  #offer = null;
  /** Where the field with the keyboard is, by tab. */
  #fields = new WeakMap();

  constructor(tabs) {
    tabs.addEventListener('attached', ({ detail: tab }) => this.#listen(tab));
    tabs.addEventListener('change', ({ detail: tab }) => this.#offer && tab !== this.#offer.tab && this.#hide());
    for (const end of ['closed', 'crashed', 'committed']) {
      tabs.addEventListener(end, ({ detail: tab }) => tab === this.#offer?.tab && this.#hide());
    }
  }

  #listen(tab) {
    const { view } = tab;
    view.on('FormAutofillRequestEvent', ({ data }) => {
      this.#offer = { tab, view, items: data.items };
      // The page waits for this answer; the rest is deferred.
      setTimeout(() => this.#show());
    });
    view.on('FormAutofillCancelEvent', () => void (tab === this.#offer?.tab && this.#hide()));
    view.on('CaretChanged', ({ data: { rectX, rectY, rectWidth, rectHeight } }) => this.#moved(tab, [rectX, rectY, rectWidth, rectHeight]));
    view.on('SelectionChanged', ({ data: { startX, startY, startWidth, startHeight } }) => this.#moved(tab, [startX, startY, startWidth, startHeight]));
  }

  #moved(tab, [x, y, width, height]) {
    this.#fields.set(tab, { x, y, width, height });
    if (tab === this.#offer?.tab) this.#show();
  }

  #hide() {
    this.#offer = null;
    this.#view?.setVisible(false);
  }

  #show() {
    const offer = this.#offer;
    const field = offer && this.#fields.get(offer.tab);
    const { room, scale, view } = offer?.tab ?? {};
    if (!field || !room || view !== offer.view) return;
    const list = (this.#view ??= this.#create());
    list.whenCreated(() => {
      if (offer !== this.#offer) return;
      const { x, y, width, height } = placeOfList(field, room, scale, offer.items.length);
      list.setGeometry(x, y, width, height);
      if (!offer.isShown) list.loadString(listOf(offer.items));
      offer.isShown = true;
      list.setVisible(true);
    });
  }

  #create() {
    const view = WebView.create();
    view.whenCreated(() => view.setZOrder(ABOVE_PAGES));
    view.onProperty('Location', (location) => {
      const [, index] = /#(\d+)$/.exec(location) ?? [];
      if (index !== undefined) this.#choose(Number(index));
    });
    for (const end of ['Destroyed', 'ProcessCrash']) view.on(end, () => { this.#view = null; });
    return view;
  }

  #choose(index) {
    const { view, tab, items = [] } = this.#offer ?? {};
    this.#hide();
    if (!(index in items) || tab.view !== view) return;
    view.autofillTextField(items[index]);
    view.setActive(true);
  }
}

/** Each process has connections of its own, and asks for the proxy's log-in again. */
export function shareProxyLogins(tabs) {
  tabs.addEventListener('attached', ({ detail: tab }) => {
    tab.view.on('SyncProxyCredential', ({ data: { username, password } }) => {
      const others = new Map(tabs.list.filter(({ ready, process }) => ready && process !== tab.process)
        .map(({ process, view }) => [process, view]));
      for (const view of others.values()) view.syncProxyCredential(username, password);
    });
  });
}

/** @returns {{place: string, username: string}[]} the log-ins that are saved */
export const savedLogins = () => (listBindings().includes('remembered.logins') ? JSON.parse(call('remembered.logins') || '[]') : []);
export const forgetLogin = ({ place, username }) => call('remembered.forgetLogin', place, username);
