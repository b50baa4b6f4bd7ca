/**
 * The dialogs of pages, as a sheet between the toolbar and the page that asks.
 * They belong to their tab: the rest of the chrome stays usable, and the page
 * cannot be mistaken for the program, since it never draws up there.
 */

import { placeOf } from './address.js';
import { Questions } from './questions.js';
import { focus } from './keyboard.js';

/**
 * How each type of dialog looks: what stands above the message, the buttons, and the fields to fill in.
 * @type {Record<string, (event: object) => {title: string, message?: string, accept: string, cancel?: string, fields?: object[]}>}
 */
export const DIALOGS = {
  JavaScriptAlert: ({ url, message }) => ({ title: `${placeOf(url)} says`, message, accept: 'OK' }),
  JavaScriptConfirm: ({ url, message }) => ({ title: `${placeOf(url)} asks`, message, accept: 'OK', cancel: 'Cancel' }),
  JavaScriptPrompt: ({ url, message, result }) => ({
    title: `${placeOf(url)} asks`,
    message,
    accept: 'OK',
    cancel: 'Cancel',
    fields: [{ name: 'text', label: 'Answer', value: result ?? '' }],
  }),
  BeforeUnloadConfirm: () => ({
    title: 'Leave this page?',
    message: 'What you entered there may not be saved.',
    accept: 'Leave',
    cancel: 'Stay',
  }),
  AuthenticationChallenge: ({ url, message, isProxy, isNew }) => ({
    title: `${isProxy ? 'The proxy ' : ''}${url} wants you to log in`,
    message: [isNew === false && 'That name and password were not accepted.', message && `It says: “${message}”`]
      .filter(Boolean).join('\n'),
    accept: 'Log in',
    cancel: 'Cancel',
    fields: [
      { name: 'username', label: 'Name', autocomplete: 'username' },
      { name: 'password', label: 'Password', type: 'password', autocomplete: 'current-password' },
    ],
  }),
  SaveCredential: ({ url, username, isNew }) => ({
    title: isNew === false ? 'Save the new password?' : 'Save this log-in?',
    message: `${username ? `“${username}”` : 'A password'} at ${placeOf(url.split(' ')[0])}. It will be filled in there, and lies unencrypted in a file of yours.`,
    accept: 'Save',
    cancel: 'Don’t save',
    // The sending page continues immediately.
    outlives: () => true,
    isOnlyOne: true,
  }),
};

const MARKUP = `
  <h2 id="dialog-title"></h2>
  <p id="dialog-message"></p>
  <div id="dialog-fields"></div>
  <div class="row">
    <button type="button" id="dialog-cancel"></button>
    <button class="primary" id="dialog-accept"></button>
  </div>`;

export class Dialogs {
  #form;
  #questions;

  /** @param {HTMLFormElement} form */
  constructor(form, tabs) {
    this.#form = form;
    form.innerHTML = MARKUP;
    this.#questions = new Questions(tabs, (question) => this.#show(question));
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#answer(true);
    });
    this.#part('cancel').addEventListener('click', () => this.#answer(false));
    form.addEventListener('keydown', (event) => {
      if (event.key !== 'Escape') return;
      // Escape closes this dialog; it must not stop the page's load.
      event.stopPropagation();
      this.#answer(false);
    });
    tabs.addEventListener('attached', ({ detail: tab }) => this.#listen(tab));
  }

  isAsking(tab) {
    return this.#questions.isAsking(tab);
  }

  /** Asks what is no dialog of the page: with `title`, `message`, `accept`, `cancel`, `answer(accepted)` and `drop()`. */
  ask(tab, question) {
    this.#questions.ask(tab, question);
  }

  #listen(tab) {
    const { view } = tab;
    view.on('DialogRequested', ({ data }) => {
      const look = DIALOGS[data.dialogType]?.(data);
      if (!look) return undefined;
      const answer = (accepted, { text = '', username = '', password = '' } = {}) => {
        view.dialogResponse(data.waitHandle, accepted, text, username, password);
        if (data.dialogType === 'BeforeUnloadConfirm' && !accepted) tab.stay();
      };
      // The host has at most one of these at a time.
      if (look.isOnlyOne) this.#questions.drop(tab, (question) => question.isOnlyOne);
      this.#questions.ask(tab, {
        ...look,
        answer,
        // If the view is gone as well, the host has discarded the question already.
        drop: () => tab.view === view && view.dialogResponse(data.waitHandle, false, '', '', ''),
      });
      return { setWait: true };
    });
  }

  #part(name) {
    return this.#form.querySelector(`#dialog-${name}`);
  }

  #show(question) {
    this.#form.hidden = !question;
    // Do not keep a password in a hidden field.
    if (!question) return this.#part('fields').replaceChildren();
    this.#part('title').textContent = question.title;
    this.#part('message').textContent = question.message ?? '';
    this.#part('accept').textContent = question.accept;
    this.#part('cancel').hidden = !question.cancel;
    this.#part('cancel').textContent = question.cancel ?? '';
    this.#part('fields').replaceChildren(...(question.fields ?? []).map(({ label, ...field }) => {
      const input = Object.assign(document.createElement('input'), { type: 'text', spellcheck: false, ...field });
      const element = Object.assign(document.createElement('label'), { textContent: label });
      element.append(input);
      return element;
    }));
    const first = this.#form.querySelector('input') ?? this.#part('accept');
    focus(first);
    first.select?.();
  }

  #answer(accepted) {
    const question = this.#questions.shown;
    if (!question) return;
    const fields = Object.fromEntries(new FormData(this.#form));
    question.answer(accepted, fields);
    this.#questions.done(question);
  }
}
