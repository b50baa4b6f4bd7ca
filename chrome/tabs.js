/** Tabs: each has a web view, and a button in the strip. */

import { HERE, Processes } from './processes.js';
import { WebView } from './pagehost.js';
import { Tab } from './tab.js';

/**
 * Reports "change" (the active tab looks different), "chosen" (it will be seen next); per tab "attached" (it has a
 * new web view to listen to), "created" (its view takes commands and has no page yet),
 * "committed", "loaded", "failed", "crashed" (its process ended, and its view with it),
 * "refused" (it could not have a view), "closed", "forgotten" (its history was cleared), "pointed" and "unpointed" (by a mouse in the strip); "empty" at the end.
 */
export class Tabs extends EventTarget {
  /** @type {Tab[]} */
  list = [];
  /** @type {Tab|null} */
  active = null;
  processes = new Processes(this);
  #strip;
  #elements = new Map();
  #rect = null;

  constructor(strip) {
    super();
    this.#strip = strip;
    strip.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      if (!step || event.altKey) return;
      this.step(step);
      this.#elements.get(this.active).button.focus();
    });
  }

  open(url, process = HERE, { isPrivate = false } = {}) {
    const tab = this.#add({ process, isPrivate });
    tab.navigate(url);
    this.activate(tab);
    return tab;
  }

  /** A tab of an earlier time, with the way that it came. It does not come to the front. */
  reopen(url, title, state, process = HERE) {
    this.#add({ process }).adopt(url, (view) => {
      if (state) view.restoreSession(state, -1);
      // The host ignores text that it cannot parse.
      if (view.historyLength() === '0') view.loadURL(url);
    }, title);
  }

  /**
   * The window that a page opens is a tab beside its own, in the process of the page: those of others
   * are none that it could have. The page stands still until it has it.
   * @returns {boolean} whether it will have one
   */
  #openFor(opener, { waitHandle }) {
    const tab = this.#add({ opener, process: opener.process });
    tab.adopt('', ({ handle }) => opener.view?.openWindowResponse(waitHandle, handle));
    this.activate(tab);
    return Boolean(tab.view);
  }

  /**
   * The window that the chrome itself is asked for, as by WebDriver.
   * @returns {boolean} whether there will be one
   */
  openAsked({ waitHandle }) {
    const tab = this.#add({ process: HERE });
    tab.adopt('', ({ handle }) => WebView.root.openWindowResponse(waitHandle, handle));
    this.activate(tab);
    return Boolean(tab.view);
  }

  #add({ opener, process, isPrivate }) {
    const tab = new Tab((changed, what) => this.#onReport(changed, what), { opener, process, processes: this.processes, isPrivate });
    const index = opener ? this.list.indexOf(opener) + 1 : this.list.length;
    this.list.splice(index, 0, tab);
    tab.room = this.#rect;
    this.#elements.set(tab, this.#addElement(tab));
    this.#strip.insertBefore(this.#elements.get(tab).root, this.#strip.children[index] ?? null);
    return tab;
  }

  activate(tab) {
    if (tab === this.active) return;
    this.active?.place(null);
    this.active = tab;
    this.#emit('chosen', tab);
    tab.place(this.#rect);
    this.list.forEach((each) => this.#render(each));
    this.#elements.get(tab).root.scrollIntoView({ inline: 'nearest', block: 'nearest' });
    this.#emit('change', tab);
  }

  close(tab) {
    const index = this.list.indexOf(tab);
    if (index < 0) return;
    this.list.splice(index, 1);
    this.#elements.get(tab).root.remove();
    this.#elements.delete(tab);
    // Show the next page before hiding this one, to avoid flicker.
    if (tab === this.active && this.list.length) {
      const back = this.list.includes(tab.opener) ? tab.opener : this.list[Math.min(index, this.list.length - 1)];
      this.activate(back);
    }
    this.#emit('closed', tab);
    tab.end();
    if (!this.list.length) this.#emit('empty', tab);
  }

  /** Activates a neighbour, around the ends. */
  step(by) {
    const { list } = this;
    this.activate(list[(list.indexOf(this.active) + by + list.length) % list.length]);
  }

  /** @param {{x, y, width, height}|null} rect  where the active page lies; null: nowhere */
  place(rect) {
    this.#rect = rect;
    this.active?.place(rect);
  }

  elementOf(tab) {
    return this.#elements.get(tab)?.root;
  }

  #onReport(tab, what) {
    if (!this.#elements.has(tab)) return undefined;
    if (what === 'ended') return this.close(tab);
    if (what === 'focused') return this.activate(tab);
    if (what?.opens) return this.#openFor(tab, what.opens);
    this.#render(tab);
    if (tab === this.active) this.#emit('change', tab);
    if (what) this.#emit(what, tab);
    return undefined;
  }

  #emit(type, tab) {
    this.dispatchEvent(new CustomEvent(type, { detail: tab }));
  }

  #addElement(tab) {
    const root = document.createElement('div');
    root.className = 'tab';
    root.setAttribute('role', 'presentation');
    root.innerHTML = `
      <button role="tab" aria-controls="content"><span class="badge" aria-hidden="true"><span></span><img alt="" hidden></span><span class="title"></span><span class="process" aria-hidden="true" hidden></span></button>
      <button class="close"><svg aria-hidden="true"><use href="#i-close"/></svg></button>`;
    const [button, close] = root.children;
    button.addEventListener('click', () => this.activate(tab));
    close.addEventListener('click', () => this.close(tab));
    root.addEventListener('auxclick', (event) => event.button === 1 && this.close(tab));
    // Touch has no hover.
    for (const [type, what] of [['pointerenter', 'pointed'], ['pointerleave', 'unpointed'], ['pointerdown', 'unpointed']]) {
      root.addEventListener(type, (event) => event.pointerType === 'mouse' && this.#emit(what, tab));
    }
    const [badge, letter, icon, title, process] = ['.badge', '.badge span', '.badge img', '.title', '.process'].map((each) => root.querySelector(each));
    return { root, button, close, badge, letter, icon, title, process };
  }

  #render(tab) {
    const { root, button, close, badge, letter, icon, title, process } = this.#elements.get(tab);
    const selected = tab === this.active;
    root.classList.toggle('selected', selected);
    root.classList.toggle('loading', tab.loading);
    root.classList.toggle('ended', Boolean(tab.ended));
    root.classList.toggle('private', tab.isPrivate);
    root.classList.toggle('asking', tab.asking && !selected);
    button.setAttribute('aria-selected', selected);
    button.tabIndex = selected ? 0 : -1;
    title.textContent = tab.label;
    // No title: its tooltip would cover the preview.
    button.setAttribute('aria-label', wordsOf(tab));
    const { number } = tab.process;
    process.hidden = !number || !tab.view;
    process.textContent = number;
    close.setAttribute('aria-label', `Close ${tab.label}`);
    const isIconic = Boolean(tab.favicon) && !tab.ended;
    letter.textContent = tab.ended ? '!' : [...tab.label][0].toUpperCase();
    badge.classList.toggle('iconic', isIconic);
    icon.hidden = !isIconic;
    // Redrawing at every progress step would decode the icon each time.
    if (tab.favicon && icon.getAttribute('src') !== tab.favicon) icon.src = tab.favicon;
    badge.style.setProperty('--hue', hueOf(tab.url));
  }
}

/** What a tab says of itself to those who do not see its signs. */
function wordsOf({ label, asking, ended, isPrivate, process: { number } }) {
  if (ended) return `${label} – ended`;
  return [label, isPrivate && 'private', number && `in process ${number}`, asking && 'waits for an answer'].filter(Boolean).join(' – ');
}

/** For a page without an icon, the place it comes from gives the colour. */
function hueOf(url) {
  const place = /^https?:\/\/([^/]+)/.exec(url)?.[1] ?? url;
  return [...place].reduce((hue, letter) => (hue * 31 + letter.codePointAt(0)) % 360, 7);
}
