/** The menu: the way to everything that has no button of its own. */

import { make } from './dom.js';
import { moveWithArrows } from './keyboard.js';
import { Panel } from './panel.js';
import { percent, zoomBy, zoomTo } from './zoom.js';

export class MenuPanel extends Panel {
  #tabs;
  #percent = make('button', { type: 'button', title: 'Actual size (Ctrl+0)' });

  /** @param {{label: string, key?: string, run: () => void, isThere?: () => boolean}[]} entries */
  constructor(tabs, entries) {
    super('menu-panel', 'Menu');
    this.#tabs = tabs;
    this.#percent.addEventListener('click', () => zoomTo(tabs, 1));
    const list = make('ul', { className: 'menu' }, ...entries.map((entry) => {
      const button = make('button', { type: 'button' }, make('span', { textContent: entry.label }), make('kbd', { textContent: entry.key ?? '' }));
      button.addEventListener('click', () => entry.run());
      const item = make('li', {}, button);
      item.show = () => { item.hidden = entry.isThere?.() === false; };
      return item;
    }));
    moveWithArrows(list, 'li:not([hidden]) button');
    this.list = list;
    this.body.append(make('div', { className: 'zoom', role: 'group', 'aria-label': 'Zoom' },
      make('span', { textContent: 'Zoom' }), this.#makeStep('−', 'Smaller (Ctrl+−)', -1), this.#percent, this.#makeStep('+', 'Larger (Ctrl++)', 1)), list);
    tabs.addEventListener('change', () => this.refresh());
  }

  get first() {
    return this.list.querySelector('li:not([hidden]) button');
  }

  draw() {
    this.#percent.textContent = percent(this.#tabs.active.scale);
    this.#percent.setAttribute('aria-label', `${this.#percent.textContent}, back to actual size`);
    for (const item of this.list.children) item.show();
  }

  #makeStep(text, title, direction) {
    const button = make('button', { type: 'button', className: 'icon', textContent: text, title, 'aria-label': title });
    button.addEventListener('click', () => zoomBy(this.#tabs, direction));
    return button;
  }
}
