/** Tabs: each is one web view, and one button in the strip. */

import { labelFor } from './address.js';
import { WebView } from './pagehost.js';

/** One page. Everything the toolbar shows of it is a field here, kept current by events. */
class Tab {
  /** @type {WebView|null} null after its process died */
  view = null;
  /** Whether the view takes commands; before, what it shall show is only noted. */
  ready = false;
  title = '';
  status = '';
  /** What was asked for and has not arrived. */
  requested = '';
  progress = 0;
  loading = false;
  canGoBack = false;
  canGoForward = false;

  /** @param {(tab: Tab, what?: string) => void} report */
  constructor(url, report) {
    this.report = report;
    this.navigate(url);
  }

  get label() {
    return this.title || labelFor(this.url);
  }

  /** After a failed load this asks for the page that was wanted, not for the one still shown. */
  reload() {
    if (!this.ready || this.requested) return this.navigate(this.requested || this.url);
    this.update({ loading: true, progress: 0, stopped: false });
    this.view.reload();
  }

  navigate(url) {
    this.url = url;
    this.update({ requested: url, loading: true, progress: 0, stopped: false, status: '' });
    if (this.ready) this.view.loadURL(url);
    else if (!this.view) this.#attach();
  }

  stop() {
    if (this.ready) this.view.stop();
    this.update({ loading: false, stopped: true });
  }

  goBack() {
    if (this.canGoBack) this.view.goBack();
  }

  goForward() {
    if (this.canGoForward) this.view.goForward();
  }

  /** Lays the web view over the rectangle; without one, hides it. */
  place(rect) {
    this.rect = rect;
    if (!this.ready) return;
    if (rect) this.view.setGeometry(rect.x, rect.y, rect.width, rect.height);
    this.view.setVisible(Boolean(rect));
  }

  update(fields, what) {
    Object.assign(this, fields);
    this.report(this, what);
  }

  #detach(what) {
    this.view = null;
    this.ready = false;
    this.update({ loading: false, canGoBack: false, canGoForward: false }, what);
  }

  #attach() {
    const view = (this.view = WebView.create());
    view.onProperty('Title', (title) => this.update({ title }));
    view.onProperty('Location', (at) => this.update({ url: at || this.url }));
    view.onProperty('Status', (status) => this.update({ status }));
    view.onProperty('CanGoBack', (canGoBack) => this.update({ canGoBack }));
    view.onProperty('CanGoForward', (canGoForward) => this.update({ canGoForward }));
    view.onProperty('LoadProgress', (progress) => this.update({ progress, loading: progress < 100 && !this.stopped }));
    view.on('DocumentLoadCommitted', () => this.update({ requested: '', title: '', stopped: false, loading: true }));
    view.on('DocumentLoadFinished', () => this.update({ loading: false, title: view.title() }, 'loaded'));
    view.on('DocumentLoadFailed', () => {
      // A load that a person stopped also ends as failed; that is no news.
      this.update({ loading: false }, this.stopped ? undefined : 'failed');
    });
    view.on('ProcessCrash', () => this.#detach('crashed'));
    view.on('Destroyed', () => this.#detach('ended'));
    view.whenCreated(() => {
      this.ready = true;
      // Placed before loaded, so that the page lays itself out once.
      this.place(this.rect);
      view.loadURL(this.url);
    });
  }
}

/** Reports "change" (the active tab looks different), and per tab "loaded", "failed", "crashed"; "empty" at the end. */
export class Tabs extends EventTarget {
  /** @type {Tab[]} */
  list = [];
  /** @type {Tab|null} */
  active = null;
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

  open(url) {
    const tab = new Tab(url, (changed, what) => this.#onReport(changed, what));
    this.list.push(tab);
    this.#elements.set(tab, this.#addElement(tab));
    this.activate(tab);
    return tab;
  }

  activate(tab) {
    if (tab === this.active) return;
    this.active?.place(null);
    this.active = tab;
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
    // The next page shows before this one goes: no flash of the empty area.
    if (tab === this.active && this.list.length) this.activate(this.list[Math.min(index, this.list.length - 1)]);
    tab.view?.delete();
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

  #onReport(tab, what) {
    if (!this.#elements.has(tab)) return;
    if (what === 'ended') return this.close(tab);
    this.#render(tab);
    if (tab === this.active) this.#emit('change', tab);
    if (what) this.#emit(what, tab);
  }

  #emit(type, tab) {
    this.dispatchEvent(new CustomEvent(type, { detail: tab }));
  }

  #addElement(tab) {
    const root = document.createElement('div');
    root.className = 'tab';
    root.setAttribute('role', 'presentation');
    root.innerHTML = `
      <button role="tab" aria-controls="content"><span class="badge" aria-hidden="true"></span><span class="title"></span></button>
      <button class="close"><svg aria-hidden="true"><use href="#i-close"/></svg></button>`;
    const [button, close] = root.children;
    button.addEventListener('click', () => this.activate(tab));
    close.addEventListener('click', () => this.close(tab));
    root.addEventListener('auxclick', (event) => event.button === 1 && this.close(tab));
    this.#strip.append(root);
    return { root, button, close, badge: root.querySelector('.badge'), title: root.querySelector('.title') };
  }

  #render(tab) {
    const { root, button, close, badge, title } = this.#elements.get(tab);
    const selected = tab === this.active;
    root.classList.toggle('selected', selected);
    root.classList.toggle('loading', tab.loading);
    button.setAttribute('aria-selected', selected);
    button.tabIndex = selected ? 0 : -1;
    button.title = title.textContent = tab.label;
    close.setAttribute('aria-label', `Close ${tab.label}`);
    badge.textContent = [...tab.label][0].toUpperCase();
    badge.style.setProperty('--hue', hueOf(tab.url));
  }
}

/** Until pages bring icons, the place they come from gives the colour. */
function hueOf(url) {
  const place = /^https?:\/\/([^/]+)/.exec(url)?.[1] ?? url;
  return [...place].reduce((hue, letter) => (hue * 31 + letter.codePointAt(0)) % 360, 7);
}
