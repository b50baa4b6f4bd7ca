/** Tabs: each is one web view, and one button in the strip. */

import { labelFor } from './address.js';
import { WebView } from './pagehost.js';

/** A page that fails in a loop must not fill the memory of the chrome. */
const MOST_EXCEPTIONS = 99;

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
  /** The page's icon, as an address for an image; empty without one. */
  favicon = '';
  secureType = 'SecureNone';
  encryptionInfo = '';
  /** Whether the page asked to cover everything else. */
  fullScreen = false;
  /** Whether something of it waits for a person. */
  asking = false;
  /** The page's uncaught errors, the latest last. */
  exceptions = [];

  /**
   * @param {(tab: Tab, what?: string) => void} report
   * @param {Tab} [opener]  whose page opened this one
   */
  constructor(report, opener) {
    this.report = report;
    this.opener = opener;
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
    else if (!this.view) this.#attach(() => this.view.loadURL(this.url));
  }

  /** Takes the window that a page opens; what it shows is loaded by the host, not by us. */
  adopt(url, useView) {
    this.url = url || 'about:blank';
    this.update({ loading: Boolean(url) });
    this.#attach(useView);
  }

  /** The page would not be left after all: what was asked for is off. */
  stay() {
    this.update({ requested: '', url: this.view?.location() || this.url, loading: false, stopped: true });
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

  /** Its view's commands are nobody's from here on. */
  end() {
    const { view } = this;
    this.view = null;
    this.ready = false;
    view?.delete();
  }

  update(fields, what) {
    Object.assign(this, fields);
    this.report(this, what);
  }

  #detach(what) {
    this.view = null;
    this.ready = false;
    this.update({ loading: false, canGoBack: false, canGoForward: false, fullScreen: false }, what);
  }

  /** @param {(view: WebView) => void} start  gives the new view its page */
  #attach(start) {
    const view = (this.view = WebView.create());
    view.onProperty('Title', (title) => this.update({ title }));
    view.onProperty('Location', (at) => this.update({ url: at || this.url }));
    view.onProperty('Status', (status) => this.update({ status }));
    view.onProperty('CanGoBack', (canGoBack) => this.update({ canGoBack }));
    view.onProperty('CanGoForward', (canGoForward) => this.update({ canGoForward }));
    view.onProperty('LoadProgress', (progress) => this.update({ progress, loading: progress < 100 && !this.stopped }));
    view.onProperty('Favicon', (icon) => this.update({ favicon: imageOf(icon) }));
    view.onProperty('SecureType', (secureType) => this.update({ secureType }));
    view.onProperty('EncryptionInfo', (encryptionInfo) => this.update({ encryptionInfo }));
    view.on('DocumentLoadCommitted', () => {
      this.update({ requested: '', title: '', stopped: false, loading: true, exceptions: [] }, 'committed');
    });
    view.on('DocumentLoadFinished', () => this.update({ loading: false, title: view.title() }, 'loaded'));
    view.on('DocumentLoadFailed', () => {
      // A load that a person stopped also ends as failed; that is no news.
      this.update({ loading: false }, this.stopped ? undefined : 'failed');
    });
    view.on('FullScreenEnter', () => this.update({ fullScreen: true }));
    view.on('FullScreenExit', () => this.update({ fullScreen: false }));
    view.on('JavaScriptException', ({ data }) => {
      this.update({ exceptions: [...this.exceptions, data].slice(-MOST_EXCEPTIONS) });
    });
    view.on('OpenWindow', ({ data }) => {
      this.report(this, { opens: data });
      return { setWait: true };
    });
    view.on('CloseWindow', () => void this.report(this, 'ended'));
    view.on('ProcessCrash', () => this.#detach('crashed'));
    view.on('Destroyed', () => this.#detach('ended'));
    view.whenCreated(() => {
      this.ready = true;
      // Placed before loaded, so that the page lays itself out once.
      this.place(this.rect);
      start(view);
    });
    // Last, so that the state is complete; still early enough to listen to all that the page does.
    this.update({}, 'attached');
  }
}

function imageOf(icon) {
  try {
    const { dataInBase64 } = JSON.parse(icon);
    return dataInBase64 ? `data:image/png;base64,${dataInBase64}` : '';
  } catch {
    return '';
  }
}

/**
 * Reports "change" (the active tab looks different); per tab "attached" (it has a
 * new web view to listen to), "committed", "loaded", "failed", "crashed", "closed";
 * "empty" at the end.
 */
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
    const tab = this.#add();
    tab.navigate(url);
    this.activate(tab);
    return tab;
  }

  /** The window that a page opens is a tab beside its own. The page stands still until it has it. */
  #openFor(opener, { url, waitHandle }) {
    const tab = this.#add(opener);
    tab.adopt(url, ({ handle }) => opener.view?.openWindowResponse(waitHandle, handle));
    this.activate(tab);
  }

  #add(opener) {
    const tab = new Tab((changed, what) => this.#onReport(changed, what), opener);
    const index = opener ? this.list.indexOf(opener) + 1 : this.list.length;
    this.list.splice(index, 0, tab);
    this.#elements.set(tab, this.#addElement(tab));
    this.#strip.insertBefore(this.#elements.get(tab).root, this.#strip.children[index] ?? null);
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

  #onReport(tab, what) {
    if (!this.#elements.has(tab)) return;
    if (what === 'ended') return this.close(tab);
    if (what?.opens) return this.#openFor(tab, what.opens);
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
      <button role="tab" aria-controls="content"><span class="badge" aria-hidden="true"><span></span><img alt="" hidden></span><span class="title"></span></button>
      <button class="close"><svg aria-hidden="true"><use href="#i-close"/></svg></button>`;
    const [button, close] = root.children;
    button.addEventListener('click', () => this.activate(tab));
    close.addEventListener('click', () => this.close(tab));
    root.addEventListener('auxclick', (event) => event.button === 1 && this.close(tab));
    const [badge, letter, icon, title] = ['.badge', '.badge span', '.badge img', '.title'].map((each) => root.querySelector(each));
    return { root, button, close, badge, letter, icon, title };
  }

  #render(tab) {
    const { root, button, close, badge, letter, icon, title } = this.#elements.get(tab);
    const selected = tab === this.active;
    root.classList.toggle('selected', selected);
    root.classList.toggle('loading', tab.loading);
    root.classList.toggle('asking', tab.asking && !selected);
    button.setAttribute('aria-selected', selected);
    button.tabIndex = selected ? 0 : -1;
    title.textContent = tab.label;
    button.title = tab.asking ? `${tab.label} – waits for an answer` : tab.label;
    close.setAttribute('aria-label', `Close ${tab.label}`);
    letter.textContent = [...tab.label][0].toUpperCase();
    badge.classList.toggle('iconic', Boolean(tab.favicon));
    icon.hidden = !tab.favicon;
    // Drawn anew at every step of a load, an icon would be decoded as often.
    if (tab.favicon && icon.getAttribute('src') !== tab.favicon) icon.src = tab.favicon;
    badge.style.setProperty('--hue', hueOf(tab.url));
  }
}

/** For a page without an icon, the place it comes from gives the colour. */
function hueOf(url) {
  const place = /^https?:\/\/([^/]+)/.exec(url)?.[1] ?? url;
  return [...place].reduce((hue, letter) => (hue * 31 + letter.codePointAt(0)) % 360, 7);
}
