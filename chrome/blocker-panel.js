/** What is kept away from pages: a panel with the tab's switch and count, and the list. */

import { make } from './dom.js';
import { Panel } from './panel.js';
import { t } from './words.js';

/** Of what was blocked on a page; the count is of all. */
const MOST_SHOWN = 50;

export class BlockerPanel extends Panel {
  #tabs;
  #blocker;
  #switch = make('input', { type: 'checkbox' });
  #count = make('p', { className: 'note', role: 'status' });
  #blocked = make('ul', { className: 'rows' });
  #lines = make('textarea', { className: 'lines', rows: 8, spellcheck: false, 'aria-label': t('What is blocked') });
  #save = make('button', { type: 'button', className: 'text', textContent: t('Save the list') });

  /** @param {HTMLElement} button  shows the count of the active tab */
  constructor(tabs, blocker, button) {
    super('blocker-panel', t('Blocked resources'));
    this.#tabs = tabs;
    this.#blocker = blocker;
    this.#switch.addEventListener('change', () => {
      blocker.switch(tabs.active, this.#switch.checked);
      // Loaded resources stay until the page is reloaded.
      tabs.active.reload();
    });
    this.#save.addEventListener('click', () => { blocker.lines = this.#lines.value.split('\n'); });
    this.body.append(
      make('label', { className: 'switch' }, this.#switch, make('span', { textContent: t('Block what the list names, in this tab') })),
      this.#count, this.#blocked, make('h3', { textContent: t('The list') }), this.#lines, this.#save,
    );
    const update = () => {
      const { blocks, blocked } = tabs.active;
      button.hidden = !blocks;
      button.textContent = t('{count} blocked', { count: blocked?.length ?? 0 });
      this.#refreshPage();
    };
    blocker.addEventListener('change', update);
    tabs.addEventListener('change', update);
    button.addEventListener('click', () => this.open());
  }

  draw() {
    this.#lines.value = this.#blocker.lines.join('\n');
    this.#refreshPage();
  }

  /** Without the list, in which somebody may be typing. */
  #refreshPage() {
    if (!this.isOpen) return;
    const { blocks, blocked = [] } = this.#tabs.active;
    this.#switch.checked = Boolean(blocks);
    const amount = blocked.length === 1 ? t('1 request') : t('{count} requests', { count: blocked.length });
    this.#count.textContent = blocks ? t('{amount} of this page blocked.', { amount }) : t('Nothing is blocked in this tab.');
    this.#blocked.replaceChildren(...blocked.slice(-MOST_SHOWN).map(({ url, line }) => (
      make('li', {}, make('div', {}, make('code', { textContent: url.slice(0, 200) }), make('small', { textContent: line }))))));
  }
}
