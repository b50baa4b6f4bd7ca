/** The address field: what is typed into it, and the list of what it may mean. */

import { readableAddress, resolveAddress } from './address.js';
import { make } from './dom.js';
import { focus, focusPage } from './keyboard.js';
import { call } from './pagehost.js';
import { closePopup, openPopup } from './popups.js';
import { suggestionsFor } from './suggestions.js';
import { hideToast } from './toast.js';
import { t } from './words.js';

const KINDS = { tab: t('Open tab'), bookmark: t('Bookmark'), visited: '' };

export class AddressField {
  #input;
  #hint;
  #tabs;
  #sources;
  #preferences;
  #openOuter;
  /** What is offered, and which of it is chosen; -1 is what was typed. */
  #offered = [];
  #chosen = -1;
  #typed = '';
  #list = make('ul', { id: 'suggestions', role: 'listbox', 'aria-label': t('Suggestions') });

  /**
   * @param {HTMLFormElement} form
   * @param {object} parts
   * @param {() => {bookmarks: object[], visited: object[]}} parts.sources
   * @param {(url: string) => void} parts.openOuter  has another program open it
   */
  constructor(form, tabs, { sources, preferences, openOuter }) {
    this.#input = form.querySelector('#address');
    this.#hint = form.querySelector('#hint');
    this.#tabs = tabs;
    this.#sources = sources;
    this.#preferences = preferences;
    this.#openOuter = openOuter;
    const input = this.#input;
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#go();
    });
    // On a touch screen a second tap must be able to place the caret.
    input.addEventListener('focus', () => input.select());
    input.addEventListener('input', () => this.#onInput());
    input.addEventListener('blur', () => {
      this.#closeList();
      if (!this.#hint.textContent) this.showLocation();
    });
    input.addEventListener('keydown', (event) => this.#onKey(event));
    // The field must not lose the keyboard to what it offers.
    this.#list.addEventListener('pointerdown', (event) => event.preventDefault());
    let shown;
    tabs.addEventListener('change', ({ detail: tab }) => {
      if (tab !== shown || !this.isTyping) this.showLocation();
      shown = tab;
    });
  }

  /** When the focus goes to the page, document.activeElement is still this field, but nobody types in it. */
  get isTyping() {
    return document.activeElement === this.#input && document.hasFocus();
  }

  focus() {
    focus(this.#input);
    this.#input.select();
  }

  showLocation() {
    this.#input.value = readableAddress(this.#tabs.active?.url ?? '', (host) => call('webview.convertIDNtoReadableStringByLanguage', 1, host) || host);
    this.#setHint();
  }

  #setHint(text = '') {
    this.#hint.textContent = text;
    this.#input.toggleAttribute('aria-invalid', Boolean(text));
  }

  #go() {
    const suggestion = this.#offered[this.#chosen];
    this.#closeList();
    if (suggestion) return this.#take(suggestion);
    const { url, outer, hint } = resolveAddress(this.#input.value, this.#preferences.get('search'));
    this.#setHint(hint);
    if (outer) {
      this.#openOuter(outer);
      this.showLocation();
    }
    if (!url) return undefined;
    hideToast();
    this.#tabs.active.navigate(url);
    return this.#leave();
  }

  #take({ tab, url }) {
    if (tab) {
      this.showLocation();
      this.#tabs.activate(tab);
    } else {
      this.#tabs.active.navigate(url);
    }
    this.#leave();
  }

  #leave() {
    this.#input.blur();
    focusPage(this.#tabs.active);
  }

  #onInput() {
    this.#setHint();
    this.#typed = this.#input.value;
    this.#chosen = -1;
    const { active, list } = this.#tabs;
    this.#offered = suggestionsFor(this.#typed, { tabs: list.filter((tab) => tab !== active && tab.view && tab.isPrivate === active.isPrivate), ...this.#sources() });
    if (!this.#offered.length) return this.#closeList();
    this.#list.replaceChildren(...this.#offered.map((each, index) => this.#makeRow(each, index)));
    if (!this.#list.isConnected) {
      openPopup(this.#list, this.#input.parentElement, { onClose: () => this.#input.setAttribute('aria-expanded', false) });
      this.#input.setAttribute('aria-expanded', true);
    }
    return this.#mark();
  }

  #makeRow(suggestion, index) {
    const { kind, title, url } = suggestion;
    const row = make('li', { id: `suggestion-${index}`, role: 'option' },
      make('b', { textContent: title || url }), make('small', { textContent: [KINDS[kind], url].filter(Boolean).join(' · ') }));
    row.addEventListener('click', () => {
      this.#closeList();
      this.#take(suggestion);
    });
    return row;
  }

  #onKey(event) {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (step && this.#list.isConnected) {
      event.preventDefault();
      const count = this.#offered.length + 1;
      this.#chosen = ((this.#chosen + 1 + step + count) % count) - 1;
      this.#input.value = this.#offered[this.#chosen]?.url ?? this.#typed;
      return this.#mark();
    }
    if (event.key !== 'Escape') return undefined;
    // It must not stop the page's load.
    event.stopPropagation();
    if (this.#list.isConnected) return this.#closeList();
    this.showLocation();
    return this.#input.select();
  }

  #mark() {
    [...this.#list.children].forEach((row, index) => row.setAttribute('aria-selected', index === this.#chosen));
    if (this.#chosen < 0) this.#input.removeAttribute('aria-activedescendant');
    else this.#input.setAttribute('aria-activedescendant', `suggestion-${this.#chosen}`);
  }

  #closeList() {
    this.#offered = [];
    this.#chosen = -1;
    this.#input.removeAttribute('aria-activedescendant');
    if (this.#list.isConnected) closePopup();
  }
}
