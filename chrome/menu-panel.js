/** The menu: the way to everything that has no button of its own. */

import { keyText, MAIN_MENU } from './commands.js';
import { make } from './dom.js';
import { focus, focusPage, moveWithArrows } from './keyboard.js';
import { closePopup, openPopup } from './popups.js';
import { t } from './words.js';
import { percent, zoomBy, zoomTo } from './zoom.js';

/** It lies over the page, below its button, as menus do; what it leads to stands beside the page. */
export class MenuPanel {
  onToggle = () => {};
  #tabs;
  #opener;
  #commands;
  #items = [];
  #percent = make('button', { type: 'button', title: `${t('Actual size')} (${t('Ctrl')}+0)` });
  #list = make('ul', { className: 'menu', role: 'presentation' });
  #element = make('div', { id: 'menu-panel', className: 'menu-popup main-menu', role: 'menu', 'aria-label': t('Menu') });

  /**
   * @param {HTMLElement} opener
   * @param {Record<string, import('./commands.js').Command>} commands
   */
  constructor(tabs, opener, commands) {
    this.#tabs = tabs;
    this.#opener = opener;
    this.#commands = commands;
    this.#percent.addEventListener('click', () => zoomTo(tabs, 1));
    for (const name of MAIN_MENU) this.#list.append(name ? this.#makeItem(commands[name]) : make('li', { role: 'separator' }));
    this.#element.append(make('div', { className: 'zoom', role: 'group', 'aria-label': t('Zoom') },
      make('span', { textContent: t('Zoom') }), this.#makeStep('−', commands.smaller, -1), this.#percent, this.#makeStep('+', commands.larger, 1)), this.#list);
    moveWithArrows(this.#element, 'li:not([hidden]) button');
    this.#element.addEventListener('keydown', (event) => {
      if (event.key !== 'Escape') return;
      // It must not stop the page's load.
      event.stopPropagation();
      this.toggle();
    });
    tabs.addEventListener('change', () => this.isOpen && this.#draw());
  }

  get isOpen() {
    return this.#element.isConnected;
  }

  open() {
    if (!this.isOpen) this.toggle();
  }

  toggle() {
    if (this.isOpen) {
      closePopup();
      return focusPage(this.#tabs.active);
    }
    this.#draw();
    openPopup(this.#element, this.#opener, { onClose: () => this.onToggle(false) });
    this.onToggle(true);
    return focus(this.#list.querySelector('li:not([hidden]) button'));
  }

  #draw() {
    this.#percent.textContent = percent(this.#tabs.active.scale);
    this.#percent.setAttribute('aria-label', t('{percent}, back to actual size', { percent: this.#percent.textContent }));
    for (const show of this.#items) show();
  }

  #makeItem(command) {
    const button = make('button', { type: 'button', role: 'menuitem' }, make('span', { textContent: command.label }), make('kbd', { textContent: keyText(command), 'aria-hidden': 'true' }));
    button.addEventListener('click', () => {
      closePopup();
      // Where it opens nothing that wants the keyboard, the page has it.
      focusPage(this.#tabs.active);
      command.run();
    });
    const item = make('li', { role: 'presentation' }, button);
    this.#items.push(() => { item.hidden = command.isThere?.() === false; });
    return item;
  }

  #makeStep(text, command, direction) {
    const title = `${command.label} (${keyText(command)})`;
    const button = make('button', { type: 'button', className: 'icon', textContent: text, title, 'aria-label': title });
    button.addEventListener('click', () => zoomBy(this.#tabs, direction));
    return button;
  }
}
