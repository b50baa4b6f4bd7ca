/** Finds a text in the active page. */

import { focus, focusPage } from './keyboard.js';
import { t } from './words.js';

const MARKUP = `
  <input id="find-text" type="text" aria-label="${t('Find in page')}" placeholder="${t('Find in page')}" aria-describedby="find-count" spellcheck="false">
  <span id="find-count" role="status"></span>
  <button type="button" class="icon" id="find-previous" aria-label="${t('Previous')}" title="${t('Previous')} (${t('Shift')}+Enter)"><svg><use href="#i-up"/></svg></button>
  <button type="submit" class="icon" id="find-next" aria-label="${t('Next')}" title="${t('Next')} (Enter)"><svg><use href="#i-down"/></svg></button>
  <label><input type="checkbox" id="find-case"> ${t('Match case')}</label>
  <button type="button" class="icon" id="find-close" aria-label="${t('Close')}" title="${t('Close')} (${t('Esc')})"><svg><use href="#i-close"/></svg></button>`;

/** What is said about an answer of the host. */
export function countText({ isMatched, currentIndex, numMatches }) {
  if (!isMatched) return t('No matches');
  return numMatches > 0 ? t('{number} of {count}', { number: currentIndex + 1, count: numMatches }) : t('Found');
}

export class FindBar {
  #form;
  #tabs;
  #tab = null;

  /** @param {HTMLFormElement} form */
  constructor(form, tabs) {
    this.#form = form;
    this.#tabs = tabs;
    form.innerHTML = MARKUP;
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#find(true);
    });
    form.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.close();
      else if (event.key === 'Enter' && event.shiftKey) this.#find(false);
      else return;
      event.preventDefault();
      event.stopPropagation();
    });
    this.#part('text').addEventListener('input', () => this.#find(true));
    this.#part('case').addEventListener('change', () => this.#find(true));
    this.#part('previous').addEventListener('click', () => this.#find(false));
    this.#part('close').addEventListener('click', () => this.close());

    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('FindString', ({ data }) => void (tab === this.#tab && this.#isAbout(data) && this.#report(data)));
    });
    // A search belongs to one page of one tab; it is repeated for the next page.
    tabs.addEventListener('change', () => this.#tab && this.#tab !== tabs.active && this.close());
    tabs.addEventListener('committed', ({ detail: tab }) => tab === this.#tab && this.#end());
    tabs.addEventListener('loaded', ({ detail: tab }) => tab === this.#tab && this.#find(true));
  }

  open() {
    if (!this.#tabs.active?.ready) return;
    this.#form.hidden = false;
    const again = this.#tab === this.#tabs.active;
    this.#tab = this.#tabs.active;
    focus(this.#part('text'));
    this.#part('text').select();
    if (!again && this.#part('text').value) this.#find(true);
  }

  close() {
    const hadIt = this.#form.contains(document.activeElement) && document.hasFocus();
    this.#end();
    this.#tab = null;
    this.#form.hidden = true;
    if (hadIt) focusPage(this.#tabs.active);
  }

  #part(name) {
    return this.#form.querySelector(`#find-${name}`);
  }

  #end() {
    this.#show('');
    // A tab that was closed or whose process died has no view.
    if (this.#tab?.ready) this.#tab.view.findString('');
  }

  #find(forward) {
    if (!this.#tab?.ready) return;
    const text = this.#part('text').value;
    if (!text) return this.#end();
    this.#tab.view.findString(text, forward, this.#part('case').checked, true, true);
  }

  /** Whether it answers the search of the moment, and not one of before the last letter. */
  #isAbout({ text, caseSensitive }) {
    return text === this.#part('text').value && caseSensitive === this.#part('case').checked;
  }

  #report(data) {
    this.#show(countText(data), !data.isMatched);
  }

  #show(text, missed = false) {
    this.#part('count').textContent = text;
    this.#form.classList.toggle('missed', missed);
  }
}
