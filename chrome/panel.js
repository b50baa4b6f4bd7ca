/** The panels beside the page: what they all do, and that only one of them is open. */

import { make } from './dom.js';
import { focus, focusPage } from './keyboard.js';
import { t } from './words.js';

/** A panel with a title. Who derives from it fills `body` in `draw()`, called at every opening. */
export class Panel {
  element;
  body;
  onToggle = () => {};

  constructor(id, title) {
    const close = make('button', { type: 'button', className: 'icon', 'aria-label': t('Close') });
    close.innerHTML = '<svg><use href="#i-close"/></svg>';
    close.addEventListener('click', () => this.toggle());
    this.close = close;
    this.body = make('div', { className: 'panel-body' });
    this.element = make('aside', { id, className: 'panel', hidden: true, 'aria-label': title },
      make('div', { className: 'panel-head' }, make('h2', { textContent: title }), close), this.body);
    this.element.addEventListener('keydown', (event) => {
      if (event.key !== 'Escape') return;
      // Escape closes this panel; it must not stop the page's load.
      event.stopPropagation();
      this.toggle();
    });
    document.querySelector('main').append(this.element);
  }

  get isOpen() {
    return !this.element.hidden;
  }

  toggle() {
    this.element.hidden = this.isOpen;
    if (this.isOpen) {
      this.draw();
      focus(this.first ?? this.close);
    }
    this.onToggle(this.isOpen);
  }

  open() {
    if (!this.isOpen) this.toggle();
  }

  /** What it shows has changed. */
  refresh() {
    if (this.isOpen) this.draw();
  }

  draw() {}
}

/** The panels share one place: opening one closes the other. */
export class PanelPlace {
  #openers = new Map();
  #makesRoom = false;
  #tabs;

  constructor(tabs) {
    this.#tabs = tabs;
  }

  /** @param {HTMLElement} opener  the button that shows that it is open */
  add(panel, opener) {
    this.#openers.set(panel, opener);
    panel.onToggle = (open) => this.#onToggle(panel, open);
  }

  #onToggle(panel, open) {
    const opener = this.#openers.get(panel);
    if (open) {
      this.#makesRoom = true;
      for (const other of this.#openers.keys()) if (other !== panel && other.isOpen) other.toggle();
      this.#makesRoom = false;
    }
    // Several panels may have the same opener.
    const isOpen = [...this.#openers].some(([each, its]) => its === opener && each.isOpen);
    opener.setAttribute('aria-expanded', isOpen);
    // Whoever was in it goes on in the page; who was elsewhere stays there.
    const hadIt = document.hasFocus() && (document.activeElement === document.body || panel.element?.contains(document.activeElement) || document.activeElement === opener);
    if (!open && !this.#makesRoom && hadIt) focusPage(this.#tabs.active);
  }
}
