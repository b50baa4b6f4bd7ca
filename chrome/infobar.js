/**
 * Asks whether a page may use what is not its own, and what else can be asked in a line: a bar above the
 * page, which goes on meanwhile.
 */

import { placeOf } from './address.js';
import { PERMISSION_EVENTS, permissionOf, PERMISSIONS } from './permissions.js';
import { Questions } from './questions.js';

const MARKUP = `
  <span id="infobar-text"></span>
  <button id="infobar-deny"></button>
  <button id="infobar-allow" class="primary"></button>`;

export class Infobar {
  #element;
  #questions;

  #permissions;

  /** @param {import('./permissions.js').Permissions} permissions  what was decided, and will be */
  constructor(element, tabs, permissions) {
    this.#element = element;
    this.#permissions = permissions;
    element.innerHTML = MARKUP;
    this.#questions = new Questions(tabs, (question) => this.#show(question));
    for (const [id, allowed] of [['allow', true], ['deny', false]]) {
      element.querySelector(`#infobar-${id}`).addEventListener('click', () => this.#answer(allowed));
    }
    tabs.addEventListener('attached', ({ detail: tab }) => {
      for (const event of PERMISSION_EVENTS) this.#listen(tab, event);
      tab.view.on('NotificationPermissionCheck', ({ data: { origin } }) => {
        const allowed = permissions.decided(tab.isPrivate, origin, 'notification');
        return { setResult: { true: 'granted', false: 'denied' }[allowed] ?? 'default' };
      });
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

  #listen(tab, event) {
    const { view } = tab;
    // With an empty answer the request stays open until the user has decided.
    view.on(event, ({ data }) => {
      const name = permissionOf(event, data);
      const { wish, answer } = PERMISSIONS[name];
      const { isPrivate } = tab;
      const decided = this.#permissions.decided(isPrivate, data.origin, name);
      // After this event: the host registers the question only then.
      if (decided !== undefined) return void setTimeout(() => tab.view === view && answer(view, data, decided));
      this.#questions.ask(tab, {
        text: `${placeOf(data.origin)} would like to ${wish}.`,
        answer: (allowed) => {
          this.#permissions.decide(isPrivate, data.origin, name, allowed);
          answer(view, data, allowed);
        },
        drop: () => tab.view === view && answer(view, data, false),
      });
      return undefined;
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
