/**
 * Asks whether a page may use what is not its own, and what else can be asked in a line: a bar above the
 * page, which goes on meanwhile.
 */

import { placeOf } from './address.js';
import { Questions } from './questions.js';

/**
 * Per event: what is asked for, and how the host learns the answer.
 * @type {Record<string, {wish: (event: object) => string, answer: (view: object, event: object, allowed: boolean) => void}>}
 */
export const PERMISSIONS = {
  GeolocationPermissionRequest: {
    wish: () => 'know where you are',
    answer: (view, { origin }, allowed) => view.setAllowGeolocation(origin, allowed),
  },
  NotificationPermissionRequest: {
    wish: () => 'show notifications',
    answer: (view, { origin }, allowed) => view.setAllowNotification(origin, allowed),
  },
  UserMediaRequest: {
    wish: ({ cameras }) => (cameras?.length ? 'use your camera' : 'use your microphone'),
    // The name of a device allows it; no name refuses.
    answer: (view, { id }, allowed) => view.setAllowUserMedia(id, allowed ? 'default' : ''),
  },
};

const MARKUP = `
  <span id="infobar-text"></span>
  <button id="infobar-deny"></button>
  <button id="infobar-allow" class="primary"></button>`;

export class Infobar {
  #element;
  #questions;

  constructor(element, tabs) {
    this.#element = element;
    element.innerHTML = MARKUP;
    this.#questions = new Questions(tabs, (question) => this.#show(question));
    for (const [id, allowed] of [['allow', true], ['deny', false]]) {
      element.querySelector(`#infobar-${id}`).addEventListener('click', () => this.#answer(allowed));
    }
    tabs.addEventListener('attached', ({ detail: tab }) => {
      for (const name of Object.keys(PERMISSIONS)) this.#listen(tab, name);
    });
  }

  /**
   * @param {{text: string, deny?: string, allow?: string, answer: (allowed: boolean) => void, drop: () => void}} question
   *   with what stands on its buttons, unless it is about what a page may do
   */
  ask(tab, question) {
    this.#questions.ask(tab, question);
  }

  /** It need not be answered any more. */
  take(tab, question) {
    this.#questions.drop(tab, (each) => each === question);
  }

  #listen(tab, name) {
    const { view } = tab;
    const { wish, answer } = PERMISSIONS[name];
    // Answered with nothing, the request stays open until the person has decided.
    view.on(name, ({ data }) => {
      this.#questions.ask(tab, {
        text: `${placeOf(data.origin)} would like to ${wish(data)}.`,
        answer: (allowed) => answer(view, data, allowed),
        drop: () => tab.view === view && answer(view, data, false),
      });
    });
  }

  #show(question) {
    this.#element.hidden = !question;
    const write = (id, text) => { this.#element.querySelector(`#infobar-${id}`).textContent = text; };
    write('text', question?.text ?? '');
    write('deny', question?.deny ?? 'Don’t allow');
    write('allow', question?.allow ?? 'Allow');
  }

  #answer(allowed) {
    const question = this.#questions.shown;
    if (!question) return;
    question.answer(allowed);
    this.#questions.done(question);
  }
}
