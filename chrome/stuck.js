/**
 * Pages whose script does not end: names the page and offers to wait or to stop it. The host tells of
 * it again for as long as it goes on; when it does not, the page has come back by itself.
 */

import { t } from './words.js';

/** How long a script may run, in milliseconds. */
export const PATIENCE = 10000;

export class StuckPages {
  #infobar;
  #asked = new Map();

  /** @param {{ask: (tab: object, question: object) => void, take: (tab: object, question: object) => void}} infobar */
  constructor(infobar, tabs) {
    this.#infobar = infobar;
    tabs.addEventListener('created', ({ detail: { view } }) => view.setJavaScriptInterruptTimeout(PATIENCE));
    tabs.addEventListener('attached', ({ detail: tab }) => {
      const { view } = tab;
      view.on('JavaScriptInterrupted', () => void this.#interrupted(tab, view));
    });
  }

  #interrupted(tab, view) {
    const asked = this.#asked.get(view) ?? this.#ask(tab, view);
    clearTimeout(asked.timer);
    asked.timer = setTimeout(() => {
      this.#asked.delete(view);
      this.#infobar.take(tab, asked.question);
    }, 2 * PATIENCE);
  }

  #ask(tab, view) {
    const asked = { timer: undefined, question: null };
    const forget = () => {
      clearTimeout(asked.timer);
      this.#asked.delete(view);
    };
    asked.question = {
      text: t('“{page}” does not answer: a script of it has been running for a while.', { page: tab.label }),
      deny: t('Stop the page'),
      allow: t('Wait'),
      answer: (waits) => {
        forget();
        if (!waits) view.stop();
      },
      drop: forget,
    };
    this.#asked.set(view, asked);
    this.#infobar.ask(tab, asked.question);
    return asked;
  }
}
