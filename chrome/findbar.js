/** Finds a text in the active page. */

import { focus } from './keyboard.js';

const MARKUP = `
  <input id="find-text" type="text" aria-label="Find in page" placeholder="Find in page" aria-describedby="find-count" spellcheck="false">
  <span id="find-count" role="status"></span>
  <button type="button" class="icon" id="find-previous" aria-label="Previous" title="Previous (Shift+Enter)"><svg><use href="#i-up"/></svg></button>
  <button type="submit" class="icon" id="find-next" aria-label="Next" title="Next (Enter)"><svg><use href="#i-down"/></svg></button>
  <label><input type="checkbox" id="find-case"> Match case</label>
  <button type="button" class="icon" id="find-close" aria-label="Close" title="Close (Esc)"><svg><use href="#i-close"/></svg></button>`;

/** What is said about an answer of the host. */
export function countText({ isMatched, currentIndex, numMatches }) {
  if (!isMatched) return 'No matches';
  return numMatches > 0 ? `${currentIndex + 1} of ${numMatches}` : 'Found';
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
      // Ignore results for an outdated text.
      tab.view.on('FindString', ({ data }) => void (tab === this.#tab && this.#part('text').value && this.#report(data)));
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
    this.#end();
    this.#tab = null;
    this.#form.hidden = true;
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

  #report(data) {
    this.#show(countText(data), !data.isMatched);
  }

  #show(text, missed = false) {
    this.#part('count').textContent = text;
    this.#form.classList.toggle('missed', missed);
  }
}
