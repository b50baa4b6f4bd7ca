/** Tabs: each has a web view, and a button in the strip. */

import { meaningOf } from './links.js';
import { HERE, Processes } from './processes.js';
import { WebView } from './pagehost.js';
import { Tab } from './tab.js';
import { draggable } from './tab-drag.js';
import { t } from './words.js';

/**
 * Reports "change" (the active tab looks different), "chosen" (it will be seen next); per tab "attached" (it has a
 * new web view to listen to), "created" (its view takes commands and has no page yet),
 * "committed", "loaded", "failed", "crashed" (its process ended, and its view with it),
 * "refused" (it could not have a view), "closed", "stays" (its page would not be closed), "forgotten" (its history was cleared),
 * "moved" (it has another place), "pointed" and "unpointed" (by a mouse in the strip), "unwanted" (a person wants it closed); "empty" at the end.
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

  /** @param {{isPrivate?: boolean, beside?: Tab, isBehind?: boolean}} [how]  beside which tab, and whether that stays in front */
  open(url, process = HERE, { isPrivate = false, beside, isBehind = false } = {}) {
    const tab = this.#add({ process, isPrivate, ...(beside && this.#placeBeside(beside)) });
    tab.navigate(url);
    if (!isBehind) this.activate(tab);
    return tab;
  }

  /** A document that the chrome has made. */
  openText(html, { isPrivate = false, beside } = {}) {
    const tab = this.#add({ process: HERE, isPrivate, ...(beside && this.#placeBeside(beside)) });
    tab.adopt('', (view) => view.loadString(html));
    this.activate(tab);
    return tab;
  }

  /** Windows that a page opens unasked: whether it may is decided here. @type {(opener: Tab, data: object) => boolean} */
  letsOpen = () => true;

  /** A tab of an earlier time, with the way that it came. It does not come to the front. */
  reopen(url, title, state, process = HERE, { index, isPinned = false } = {}) {
    const tab = this.#add({ process, index });
    tab.adopt(url, (view) => {
      if (state) view.restoreSession(state, -1);
      // The host ignores text that it cannot parse.
      if (view.historyLength() === '0') view.loadURL(url);
    }, title);
    if (isPinned) this.pin(tab, true);
    return tab;
  }

  /** A web view that is there already, of the chrome before this one. */
  takeOver(handle, { process, isPrivate, isPinned }) {
    const tab = this.#add({ process, isPrivate });
    tab.takeOver(handle);
    if (isPinned) this.pin(tab, true);
    return tab;
  }

  /**
   * The window that a page opens is a tab beside its own, in the process of the page: those of others
   * are none that it could have. The page stands still until it has it.
   * @returns {boolean} whether it will have one
   */
  #openFor(opener, data) {
    if (!this.letsOpen(opener, data)) return false;
    const tab = this.#add({ opener, process: opener.process, ...this.#placeBeside(opener) });
    tab.adopt('', ({ handle }) => opener.view?.openWindowResponse(data.waitHandle, handle));
    if (meaningOf(data) !== 'behind') this.activate(tab);
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

  /** Behind the last of those that were opened from it. */
  #placeBeside(origin) {
    let index = this.list.indexOf(origin) + 1;
    while (this.list[index]?.origin === origin || this.list[index]?.isPinned) index += 1;
    return { origin, index };
  }

  #add({ opener, origin, process, isPrivate, index = this.list.length }) {
    const tab = new Tab((changed, what) => this.#onReport(changed, what), { opener, process, processes: this.processes, isPrivate });
    tab.origin = origin;
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
    tab.lastPlace = index;
    this.list.splice(index, 1);
    this.#elements.get(tab).root.remove();
    this.#elements.delete(tab);
    // Show the next page before hiding this one, to avoid flicker.
    if (tab === this.active && this.list.length) {
      this.activate(this.#neighbourAt(index, tab));
    }
    this.#emit('closed', tab);
    tab.end();
    if (!this.list.length) this.#emit('empty', tab);
  }

  /** Brings the tab to the front that comes there when this one closes; the only one stays. */
  stepAside(tab) {
    const others = this.list.filter((each) => each !== tab);
    if (tab === this.active && others.length) this.activate(this.#neighbourAt(this.list.indexOf(tab), tab, others));
  }

  #neighbourAt(index, { opener }, list = this.list) {
    return list.includes(opener) ? opener : list[Math.min(index, list.length - 1)];
  }

  /** To another place in the strip; pinned ones stay before the others. */
  move(tab, index) {
    if (this.#move(tab, index)) this.#emit('moved', tab);
  }

  /** @returns {boolean} whether it was elsewhere */
  #move(tab, index) {
    const pinned = this.list.filter(({ isPinned }) => isPinned).length;
    const [least, most] = tab.isPinned ? [0, pinned - 1] : [pinned, this.list.length - 1];
    const to = Math.max(least, Math.min(index, most));
    const from = this.list.indexOf(tab);
    if (from < 0 || from === to) return false;
    this.list.splice(from, 1);
    this.list.splice(to, 0, tab);
    const { root } = this.#elements.get(tab);
    this.#strip.insertBefore(root, this.#strip.children[to + (from < to ? 1 : 0)] ?? null);
    return true;
  }

  pin(tab, isPinned) {
    if (tab.isPinned === isPinned) return;
    const others = this.list.filter((each) => each !== tab && each.isPinned).length;
    tab.isPinned = true;
    this.#move(tab, others);
    tab.update({ isPinned });
    this.#emit('moved', tab);
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
    close.addEventListener('click', () => this.#emit('unwanted', tab));
    root.addEventListener('auxclick', (event) => event.button === 1 && this.#emit('unwanted', tab));
    draggable(root, this.#strip, (index) => this.move(tab, index));
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
    root.classList.toggle('pinned', tab.isPinned);
    root.classList.toggle('asking', tab.asking && !selected);
    button.setAttribute('aria-selected', selected);
    button.tabIndex = selected ? 0 : -1;
    title.textContent = tab.label;
    // No title: its tooltip would cover the preview.
    button.setAttribute('aria-label', wordsOf(tab));
    const { number } = tab.process;
    process.hidden = !number || !tab.view;
    process.textContent = number;
    close.setAttribute('aria-label', t('Close {page}', { page: tab.label }));
    close.hidden = tab.isPinned;
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
function wordsOf({ label, asking, ended, isPrivate, isPinned, process: { number } }) {
  if (ended) return `${label} – ${t('ended')}`;
  return [
    label, isPinned && t('pinned'), isPrivate && t('private'), number && t('in process {number}', { number }), asking && t('waits for an answer'),
  ].filter(Boolean).join(' – ');
}

export { hueOf };

/** For a page without an icon, the place it comes from gives the colour. */
function hueOf(url) {
  const place = /^https?:\/\/([^/]+)/.exec(url)?.[1] ?? url;
  return [...place].reduce((hue, letter) => (hue * 31 + letter.codePointAt(0)) % 360, 7);
}
