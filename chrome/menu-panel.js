/** The menu: the way to everything that has no button of its own. */

import { entryOf, keyText, MAIN_MENU } from './commands.js';
import { make } from './dom.js';
import { focusPage } from './keyboard.js';
import { closePopup, openMenu } from './popups.js';
import { t } from './words.js';
import { percent, zoomBy, zoomTo } from './zoom.js';

/** It lies over the page, below its button, as menus do; what it leads to stands beside the page. */
export class MenuPanel {
  onToggle = () => {};
  #tabs;
  #opener;
  #commands;
  #percent = make('button', { type: 'button', title: `${t('Actual size')} (${t('Ctrl')}+0)` });
  #zoom = make('div', { className: 'zoom', role: 'group', 'aria-label': t('Zoom') });

  /**
   * @param {HTMLElement} opener
   * @param {Record<string, import('./commands.js').Command>} commands
   */
  constructor(tabs, opener, commands) {
    this.#tabs = tabs;
    this.#opener = opener;
    this.#commands = commands;
    this.#percent.addEventListener('click', () => zoomTo(tabs, 1));
    this.#zoom.append(make('span', { textContent: t('Zoom') }), this.#makeStep('−', commands.smaller, -1), this.#percent, this.#makeStep('+', commands.larger, 1));
    tabs.addEventListener('change', () => this.isOpen && this.#draw());
  }

  get isOpen() {
    return this.#zoom.isConnected;
  }

  open() {
    if (!this.isOpen) this.toggle();
  }

  toggle() {
    const goBack = () => focusPage(this.#tabs.active);
    if (this.isOpen) {
      closePopup();
      return goBack();
    }
    this.#draw();
    // Where an entry opens nothing that wants the keyboard, the page has it.
    openMenu(MAIN_MENU.map((name) => name && entryOf(this.#commands[name])), this.#opener, {
      label: t('Menu'),
      goBack,
      main: { head: this.#zoom, fields: { id: 'menu-panel', className: 'menu-popup main-menu' }, onClose: () => this.onToggle(false) },
    });
    return this.onToggle(true);
  }

  #draw() {
    this.#percent.textContent = percent(this.#tabs.active.scale);
    this.#percent.setAttribute('aria-label', t('{percent}, back to actual size', { percent: this.#percent.textContent }));
  }

  #makeStep(text, command, direction) {
    const title = `${command.label} (${keyText(command)})`;
    const button = make('button', { type: 'button', className: 'icon', textContent: text, title, 'aria-label': title });
    button.addEventListener('click', () => zoomBy(this.#tabs, direction));
    return button;
  }
}
