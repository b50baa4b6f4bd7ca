/** What stands in the place of a page that has no web view, and the way to have it back. */

import { focus } from './keyboard.js';
import { namesOf } from './processes.js';
import { t } from './words.js';

/**
 * @param {import('./tab.js').Tab} tab
 * @param {import('./tab.js').Tab[]} list
 * @returns {{text: string, note: string}}
 */
export function endedWords(tab, list) {
  if (tab.ended === 'refused') {
    return { text: t('This page has no process to live in.'), note: t('The system did not start another one. It may be short of memory.') };
  }
  const others = list.filter((each) => each !== tab && each.ended && each.process === tab.process);
  return {
    text: t('The process of this page ended unexpectedly.'),
    note: others.length ? t('It was that of {pages}, too.', { pages: namesOf(others) }) : '',
  };
}

export class EndedNotice {
  #element;
  #button;

  /** @param {HTMLElement} element */
  constructor(element, tabs) {
    this.#element = element;
    this.#button = element.querySelector('button');
    this.#button.addEventListener('click', () => tabs.active.reload());
    tabs.addEventListener('change', ({ detail: tab }) => this.#show(tab, tabs.list));
    for (const end of ['crashed', 'refused']) {
      tabs.addEventListener(end, ({ detail: tab }) => {
        // The state of another tab in it may have changed.
        this.#show(tabs.active, tabs.list);
        // The page had the keyboard focus; nothing has it now.
        if (tab === tabs.active && !document.hasFocus()) focus(this.#button);
      });
    }
  }

  #show(tab, list) {
    this.#element.hidden = !tab.ended;
    if (!tab.ended) return;
    const { text, note } = endedWords(tab, list);
    this.#element.querySelector('.text').textContent = text;
    this.#element.querySelector('.note').textContent = note;
  }
}
