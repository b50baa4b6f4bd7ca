/** What the program can do beyond showing pages, to be tried: each in a panel of its own. */

import { make } from './dom.js';
import { moveWithArrows } from './keyboard.js';
import { Panel } from './panel.js';
import { t } from './words.js';

export class ExamplesPanel extends Panel {
  #list;

  /** @param {{label: string, about: string, open: () => void}[]} examples */
  constructor(examples) {
    super('examples-panel', t('Examples'));
    this.#list = make('ul', { className: 'rows' }, ...examples.map(({ label, about, open }) => {
      const button = make('button', { type: 'button', className: 'entry' }, make('b', { textContent: label }), make('small', { textContent: about }));
      button.addEventListener('click', open);
      return make('li', {}, button);
    }));
    moveWithArrows(this.#list, 'button');
    this.body.append(make('p', { className: 'note', textContent: t('For those who write a chrome of their own.') }), this.#list);
  }

  get first() {
    return this.#list.querySelector('button');
  }
}
