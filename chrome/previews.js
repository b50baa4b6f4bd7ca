/** A small picture of a tab's page while the pointer rests on it, in a web view that lies over all others. */

import { capture } from './capture.js';
import { WebView } from './pagehost.js';
import { HERE } from './processes.js';

const RESTS_FOR = 500;
const PICTURE = { width: 240, height: 150 };
const TEXT_HEIGHT = 52;
const LINE_HEIGHT = 16;
const ABOVE_ALL = 1000;

export class Previews {
  #view = null;
  #wanted = null;
  #timer = 0;

  constructor(tabs) {
    tabs.addEventListener('pointed', ({ detail: tab }) => {
      this.#hide();
      this.#wanted = tab;
      this.#timer = setTimeout(() => this.#show(tabs, tab), RESTS_FOR);
    });
    for (const end of ['unpointed', 'closed', 'crashed']) {
      tabs.addEventListener(end, ({ detail: tab }) => tab === this.#wanted && this.#hide());
    }
  }

  #hide() {
    clearTimeout(this.#timer);
    this.#wanted = null;
    this.#view?.setVisible(false);
  }

  async #show(tabs, tab) {
    const { room } = tab;
    if (!tab.ready || !room) return;
    const place = tab.process === HERE ? '' : tabs.processes.describe(tab);
    const height = Math.min(PICTURE.height, Math.round(PICTURE.width * room.height / room.width));
    // The top of the document, as much as the window shows.
    const picture = await capture(tab.view, { part: { ...room, x: 0, y: 0 }, within: PICTURE });
    if (tab !== this.#wanted) return;
    const view = (this.#view ??= this.#create());
    view.whenCreated(() => {
      if (tab !== this.#wanted) return;
      const { left, bottom } = tabs.elementOf(tab).getBoundingClientRect();
      const x = Math.max(4, Math.min(Math.round(left), window.innerWidth - PICTURE.width - 4));
      view.setGeometry(x, Math.round(bottom) + 2, PICTURE.width, height + TEXT_HEIGHT + (place ? LINE_HEIGHT : 0));
      view.loadString(cardOf(tab, place, picture, height));
      view.setVisible(true);
    });
  }

  #create() {
    const view = WebView.create();
    view.whenCreated(() => view.setZOrder(ABOVE_ALL));
    for (const end of ['Destroyed', 'ProcessCrash']) view.on(end, () => { this.#view = null; });
    return view;
  }
}

const escaped = (text) => text.replace(/[&<>"]/g, (sign) => `&#${sign.charCodeAt(0)};`);

/** Everything of it comes from a page, so nothing of it may run. */
function cardOf({ label, url }, place, picture, height) {
  return `<!doctype html><meta charset="utf-8"><meta name="color-scheme" content="light dark">
    <meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src data:; style-src 'unsafe-inline'">
    <style>
      body { margin: 0; height: 100vh; overflow: hidden; box-sizing: border-box; border: 1px solid #8888; font: 13px/1.35 system-ui, sans-serif; }
      p { margin: 7px 10px 0; white-space: nowrap; overflow: hidden; text-overflow: ellipsis; }
      p + p { margin-top: 0; opacity: .65; font-size: 12px; }
      img { display: block; width: 100%; height: ${height}px; margin-top: 6px; object-fit: cover; object-position: top left; background: #fff; }
    </style>
    <p>${escaped(label)}</p><p>${escaped(url.slice(0, 200))}</p>${place && `<p>${escaped(place)}</p>`}${picture && `<img alt="" src="${escaped(picture)}">`}`;
}
