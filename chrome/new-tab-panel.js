/** A new tab, and the process that it is to live in. */

import { make } from './dom.js';
import { moveWithArrows } from './keyboard.js';
import { Panel } from './panel.js';
import { HERE } from './processes.js';
import { t } from './words.js';

/**
 * @param {import('./processes.js').Processes} processes
 * @returns {{label: string, about: string, process: import('./processes.js').Process, isPrivate?: boolean}[]} what there is to choose from
 */
export function newTabChoices(processes) {
  return [
    { label: t('New tab'), about: t('In the program’s own process'), process: HERE },
    { label: t('New private tab'), about: t('What its pages leave behind goes with it'), process: HERE, isPrivate: true },
    { label: t('New tab in its own process'), about: t('What ends it ends no other tab; cookies are shared, other site data is its own'), process: processes.fresh() },
    ...processes.running.map((process) => ({
      label: t('New tab in process {number}', { number: process.number }),
      about: processes.tabsIn(process).map(({ label }) => label).join(' · '),
      process,
    })),
  ];
}

export class NewTabPanel extends Panel {
  #tabs;
  #open;
  #shown = '';
  #list = make('ul', { className: 'rows' });

  /** @param {(process: import('./processes.js').Process, isPrivate: boolean) => void} open  opens the tab */
  constructor(tabs, open) {
    super('new-tab-panel', t('New tab'));
    this.#tabs = tabs;
    this.#open = open;
    this.body.append(this.#list);
    moveWithArrows(this.#list, 'button');
    for (const type of ['change', 'crashed', 'closed']) tabs.addEventListener(type, () => this.refresh());
  }

  get first() {
    return this.#list.querySelector('button');
  }

  toggle() {
    this.#shown = '';
    super.toggle();
  }

  draw() {
    const choices = newTabChoices(this.#tabs.processes);
    // Redrawing unchanged choices would lose the keyboard focus.
    const shown = JSON.stringify(choices);
    if (shown === this.#shown) return;
    this.#shown = shown;
    this.#list.replaceChildren(...choices.map(({ label, about, process, isPrivate = false }) => {
      const button = make('button', { type: 'button', className: 'entry', title: about },
        make('b', { textContent: label }), make('small', { textContent: about }));
      button.addEventListener('click', () => {
        this.toggle();
        this.#open(process, isPrivate);
      });
      return make('li', {}, button);
    }));
  }
}
