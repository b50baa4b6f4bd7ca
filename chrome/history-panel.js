/** Where the current tab has been, and the way to any of it. Opened from the back and forward buttons, too. */

import { labelFor } from './address.js';
import { make } from './dom.js';
import { Panel } from './panel.js';
import { t } from './words.js';

/** Held down for so long, a button means its menu. */
const LONG_PRESS = 500;

export class HistoryPanel extends Panel {
  #tabs;
  #shown = '';

  constructor(tabs) {
    super('history-panel', t('History of this tab'));
    this.#tabs = tabs;
    tabs.addEventListener('change', () => this.refresh());
  }

  get first() {
    return this.body.querySelector('[aria-current]');
  }

  toggle() {
    this.#shown = '';
    super.toggle();
  }

  draw() {
    const { ready, view } = this.#tabs.active;
    const list = ready ? view.getHistoryList() : '[]';
    const position = ready ? Number(view.historyPosition()) : 0;
    // Redrawing an unchanged list would lose the keyboard focus.
    const shown = [view?.handle, list, position].join();
    if (shown === this.#shown) return;
    this.#shown = shown;

    const items = JSON.parse(list || '[]');
    const rows = items.map(({ url, title }, index) => {
      const button = make('button', { type: 'button', className: 'entry', title: url },
        make('b', { textContent: title || labelFor(url) }), make('small', { textContent: url }));
      if (index === position) button.setAttribute('aria-current', 'page');
      button.addEventListener('click', () => view.setHistoryPosition(index));
      return make('li', {}, button);
    });
    const clear = make('button', { type: 'button', className: 'text', textContent: t('Clear history'), disabled: items.length < 2 });
    clear.addEventListener('click', () => this.#clear());
    // Newest first.
    this.body.replaceChildren(make('ol', { className: 'rows', reversed: true }, ...rows.reverse()), clear);
    if (!items.length) this.body.prepend(make('p', { className: 'note', textContent: t('Nothing yet.') }));
  }

  #clear() {
    const tab = this.#tabs.active;
    if (!tab.ready) return;
    tab.view.clearHistory();
    tab.update({}, 'forgotten');
    this.refresh();
  }
}

/** Right click, the menu key and a long press on a button run the action instead of a click. */
export function onLongPress(button, action) {
  let timer;
  let held = false;
  const run = () => {
    clearTimeout(timer);
    action();
  };
  button.addEventListener('contextmenu', (event) => {
    event.preventDefault();
    if (!held) run();
  });
  button.addEventListener('pointerdown', (event) => {
    held = false;
    if (event.button !== 0) return;
    timer = setTimeout(() => {
      held = true;
      run();
    }, LONG_PRESS);
  });
  for (const end of ['pointerup', 'pointerleave', 'pointercancel']) button.addEventListener(end, () => clearTimeout(timer));
  button.addEventListener('click', (event) => {
    if (!held) return;
    held = false;
    event.stopImmediatePropagation();
  }, true);
}
