/**
 * The dialogs of pages, as a sheet between the toolbar and the page that asks.
 * They belong to their tab: the rest of the chrome stays usable, and the page
 * cannot be mistaken for the program, since it never draws up there.
 */

import { placeOf } from './address.js';
import { Questions } from './questions.js';
import { focus, focusPage } from './keyboard.js';
import { t } from './words.js';

/**
 * How each type of dialog looks: what stands above the message, the buttons, and the fields to fill in.
 * @type {Record<string, (event: object) => {title: string, message?: string, accept: string, cancel?: string, fields?: object[]}>}
 */
export const DIALOGS = {
  JavaScriptAlert: ({ url, message }) => ({ title: t('{place} says', { place: placeOf(url) }), message, accept: t('OK') }),
  JavaScriptConfirm: ({ url, message }) => ({ title: t('{place} asks', { place: placeOf(url) }), message, accept: t('OK'), cancel: t('Cancel') }),
  JavaScriptPrompt: ({ url, message, result }) => ({
    title: t('{place} asks', { place: placeOf(url) }),
    message,
    accept: t('OK'),
    cancel: t('Cancel'),
    fields: [{ name: 'text', label: t('Answer'), value: result ?? '' }],
  }),
  BeforeUnloadConfirm: () => ({
    title: t('Leave this page?'),
    message: t('What you entered there may not be saved.'),
    accept: t('Leave'),
    cancel: t('Stay'),
  }),
  AuthenticationChallenge: ({ url, message, isProxy, isNew }) => ({
    title: isProxy ? t('The proxy {place} wants you to log in', { place: url }) : t('{place} wants you to log in', { place: url }),
    message: [isNew === false && t('That name and password were not accepted.'), message && t('It says: “{text}”', { text: message })]
      .filter(Boolean).join('\n'),
    accept: t('Log in'),
    cancel: t('Cancel'),
    fields: [
      { name: 'username', label: t('Name'), autocomplete: 'username' },
      { name: 'password', label: t('Password'), type: 'password', autocomplete: 'current-password' },
    ],
  }),
};

const MARKUP = `
  <h2 id="dialog-title"></h2>
  <p id="dialog-message"></p>
  <div id="dialog-fields"></div>
  <div class="row">
    <button type="button" id="dialog-silence">${t('No more of these')}</button>
    <button type="button" id="dialog-cancel"></button>
    <button type="button" id="dialog-other"></button>
    <button class="primary" id="dialog-accept"></button>
  </div>`;

/** Those that a page can make in a loop, so that nothing else can be done with it. */
const IN_LOOPS = new Set(['JavaScriptAlert', 'JavaScriptConfirm', 'JavaScriptPrompt', 'AuthenticationChallenge', 'Print']);
/** A page waits for its own dialogs, but not for the log-ins of what it loads. */
const MOST_WAITING = 20;

export class Dialogs {
  /** Answers a page that wants to print. @type {(tab: object, answer: (accepted: boolean, path?: string) => void, canBeSilenced: boolean) => void} */
  onPrint = (tab, answer) => answer(true);
  /** Whether it prints because a person has said so. @type {(tab: object) => boolean} */
  isPrintWanted = () => false;
  #form;
  #questions;
  #tabs;

  /** @param {HTMLFormElement} form */
  constructor(form, tabs) {
    this.#form = form;
    this.#tabs = tabs;
    form.innerHTML = MARKUP;
    this.#questions = new Questions(tabs, (question) => this.#show(question));
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#answer(true);
    });
    this.#part('cancel').addEventListener('click', () => this.#answer(false));
    this.#part('other').addEventListener('click', () => this.#answer(true, true));
    this.#part('silence').addEventListener('click', () => this.#silence());
    tabs.addEventListener('committed', ({ detail: tab }) => {
      tab.dialogs = 0;
      tab.isSilenced = false;
    });
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
      const isInLoop = IN_LOOPS.has(data.dialogType);
      if (isInLoop && this.#isTooMuch(tab, data.dialogType)) return { setPreventDefault: true };
      const canBeSilenced = isInLoop && tab.dialogs > 1;
      if (data.dialogType === 'Print') {
        // The page waits for the event, not for the answer.
        setTimeout(() => this.onPrint(tab, (accepted, path = '') => tab.view === view && view.dialogResponse(data.waitHandle, accepted, path, '', ''), canBeSilenced));
        return { setWait: true };
      }
      const look = DIALOGS[data.dialogType]?.(data);
      if (!look) return undefined;
      if (data.dialogType === 'BeforeUnloadConfirm' && tab.closing) setTimeout(() => this.#tabs.list.includes(tab) && this.#tabs.activate(tab));
      const answer = (accepted, { text = '', username = '', password = '' } = {}) => {
        view.dialogResponse(data.waitHandle, accepted, text, username, password);
        if (data.dialogType === 'BeforeUnloadConfirm' && !accepted) tab.stay();
      };
      this.#questions.ask(tab, {
        ...look,
        canBeSilenced,
        isInLoop,
        answer,
        // If the view is gone as well, the host has discarded the question already.
        drop: () => tab.view === view && view.dialogResponse(data.waitHandle, false, '', '', ''),
      });
      return { setWait: true };
    });
  }

  /** Counts it. What a person has begun is none of the page's. */
  #isTooMuch(tab, type) {
    if (type === 'Print' ? this.isPrintWanted(tab) : type === 'AuthenticationChallenge' && tab.requested) return false;
    if (tab.isSilenced || this.#questions.countOf(tab) >= MOST_WAITING) return true;
    tab.dialogs = (tab.dialogs ?? 0) + 1;
    return false;
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
    this.#part('other').hidden = !question.other;
    this.#part('other').textContent = question.other ?? '';
    this.#part('silence').hidden = !question.canBeSilenced;
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

  /** The page gets the answer of who cancels, now and until another document has come. */
  #silence() {
    const tab = this.#tabs.active;
    tab.isSilenced = true;
    this.#answer(false);
    this.#questions.drop(tab, (question) => question.isInLoop);
  }

  #answer(accepted, isOther = false) {
    const question = this.#questions.shown;
    if (!question) return;
    const fields = Object.fromEntries(new FormData(this.#form));
    question.answer(accepted, fields, isOther);
    this.#questions.done(question);
    // The page goes on, and so does who was in it.
    if (!this.#questions.shown && document.activeElement === document.body) focusPage(this.#tabs.active);
  }
}
