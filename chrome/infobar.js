/**
 * Asks whether a page may use what is not its own, and what else can be asked in a line: a bar above the
 * page, which goes on meanwhile.
 */

import { placeOf } from './address.js';
import { PERMISSION_EVENTS, permissionOf, PERMISSIONS } from './permissions.js';
import { Questions } from './questions.js';
import { t } from './words.js';

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
      this.#listenForLogins(tab);
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
        text: t('{place} would like to {wish}.', { place: placeOf(data.origin), wish }),
        answer: (allowed) => {
          this.#permissions.decide(isPrivate, data.origin, name, allowed);
          answer(view, data, allowed);
        },
        drop: () => tab.view === view && answer(view, data, false),
      });
      return undefined;
    });
  }

  /** The page that was logged in at goes on meanwhile, and the keyboard stays in it. */
  #listenForLogins(tab) {
    const { view } = tab;
    view.on('DialogRequested', ({ data: { dialogType, waitHandle, url, username, isNew } }) => {
      if (dialogType !== 'SaveCredential') return undefined;
      const place = placeOf(url.split(' ')[0]);
      const answer = (accepted) => tab.view === view && view.dialogResponse(waitHandle, accepted, '', '', '');
      // The host has at most one of these at a time.
      this.#questions.drop(tab, (question) => question.isLogin);
      const values = { name: username || t('A password'), place };
      this.#questions.ask(tab, {
        text: isNew === false
          ? t('Save the new password of “{name}” at {place}? It lies unencrypted in a file of yours.', values)
          : t('Save the log-in “{name}” at {place}? It lies unencrypted in a file of yours.', values),
        allow: t('Save'),
        deny: t('Don’t save'),
        isLogin: true,
        answer,
        drop: () => answer(false),
        // Whoever logs in is led on within the site, and not asked on the next one.
        outlives: () => placeOf(view.location()) === place,
      });
      return { setWait: true };
    });
  }

  #show(question) {
    this.#element.hidden = !question;
    const write = (id, text) => { this.#element.querySelector(`#infobar-${id}`).textContent = text; };
    write('text', question?.text ?? '');
    write('deny', question?.deny ?? t('Don’t allow'));
    write('allow', question?.allow ?? t('Allow'));
  }

  #answer(allowed) {
    const question = this.#questions.shown;
    if (!question) return;
    question.answer(allowed);
    this.#questions.done(question);
  }
}
