/** A small picture of a tab's page while the pointer rests on it: over the page, below the toolbar. */

import { make } from './dom.js';
import { isPopupOpen } from './popups.js';
import { HERE } from './processes.js';

const RESTS_FOR = 500;
const PICTURE = { width: 240, height: 150 };
const EDGE = 4;

export class Previews {
  #tabs;
  #cutouts;
  #card = make('div', { className: 'popup preview', 'aria-hidden': 'true' });
  #wanted = null;
  #timer = 0;

  /** @param {import('./cutouts.js').Cutouts} cutouts */
  constructor(tabs, cutouts) {
    this.#tabs = tabs;
    this.#cutouts = cutouts;
    tabs.addEventListener('pointed', ({ detail: tab }) => {
      this.#hide();
      // What is in front can be seen as it is.
      if (tab === tabs.active) return;
      this.#wanted = tab;
      this.#timer = setTimeout(() => this.#show(tab), RESTS_FOR);
    });
    for (const end of ['unpointed', 'closed', 'crashed']) {
      tabs.addEventListener(end, ({ detail: tab }) => tab === this.#wanted && this.#hide());
    }
    tabs.addEventListener('chosen', () => this.#hide());
    for (const end of ['keydown', 'pointerdown', 'wheel']) document.addEventListener(end, () => this.#hide(), true);
    window.addEventListener('blur', () => this.#hide());
  }

  #hide() {
    clearTimeout(this.#timer);
    this.#wanted = null;
    if (!this.#card.isConnected) return;
    this.#cutouts.remove(this.#card);
    this.#card.remove();
  }

  async #show(tab) {
    const room = this.#tabs.active?.rect;
    if (!tab.ready || !room) return;
    const { width, height } = tab.room ?? room;
    const pictureHeight = Math.min(PICTURE.height, Math.round(PICTURE.width * height / width));
    // The top of the document, as much as the window shows.
    const picture = await tab.view.capture({ part: { x: 0, y: 0, width, height }, size: PICTURE }).catch(() => '');
    if (tab !== this.#wanted || isPopupOpen()) return;
    const place = tab.process === HERE ? '' : this.#tabs.processes.describe(tab);
    const image = make('img', { alt: '', src: picture });
    image.style.height = `${pictureHeight}px`;
    this.#card.replaceChildren(...[tab.label, tab.url.slice(0, 200), place].filter(Boolean).map((textContent) => make('p', { textContent })), ...(picture ? [image] : []));
    const { left } = this.#tabs.elementOf(tab).getBoundingClientRect();
    this.#card.style.left = `${Math.max(EDGE, Math.min(Math.round(left), window.innerWidth - PICTURE.width - EDGE))}px`;
    this.#card.style.top = `${room.y + 2}px`;
    document.body.append(this.#card);
    this.#cutouts.add(this.#card);
  }
}
