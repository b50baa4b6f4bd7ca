/** One tab: a web view, and all that the toolbar shows of it. */

import { labelFor } from './address.js';
import { WebView } from './pagehost.js';

/** A page that fails in a loop must not fill the memory of the chrome, and neither must its title. */
const MOST_EXCEPTIONS = 99;
const LONGEST_TITLE = 500;

/** One page. Everything the toolbar shows of it is a field here, kept current by events. */
export class Tab {
  /** @type {WebView|null} null while it has none, and then `ended` tells why */
  view = null;
  /** @type {''|'crashed'|'refused'} how it lost its view, or that it could not have one */
  ended = '';
  /** Whether the view takes commands; before, what it shall show is only noted. */
  ready = false;
  #title = '';
  status = '';
  /** What was asked for and has not arrived. */
  requested = '';
  progress = 0;
  /** How large the page is drawn; 1 is its own size. */
  scale = 1;
  loading = false;
  canGoBack = false;
  canGoForward = false;
  /** The page's icon, as an address for an image; empty without one. */
  favicon = '';
  secureType = 'SecureNone';
  encryptionInfo = '';
  /** Whether the page asked to cover everything else. */
  fullScreen = false;
  /** Whether it leaves nothing behind on this machine. */
  isPrivate = false;
  /** Whether something of it waits for a person. */
  asking = false;
  /** Whether it stands first in the strip, small and without a button to close it. */
  isPinned = false;
  /** Whether the page was asked whether it may be closed. */
  closing = false;
  /** The page's uncaught errors, the latest last. */
  exceptions = [];

  /**
   * @param {(tab: Tab, what?: string) => void} report
   * @param {object} place
   * @param {import('./processes.js').Process} place.process  where its view shall live
   * @param {import('./processes.js').Processes} place.processes
   * @param {Tab} [place.opener]  whose page opened this one
   * @param {boolean} [place.isPrivate]
   */
  constructor(report, { process, processes, opener, isPrivate }) {
    this.report = report;
    this.process = process;
    this.processes = processes;
    this.opener = opener;
    this.isPrivate = opener?.isPrivate ?? Boolean(isPrivate);
  }

  get title() {
    return this.#title;
  }

  set title(title) {
    this.#title = title.slice(0, LONGEST_TITLE);
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

  /**
   * Takes a view that gets its page in another way. Of the window that a page opens the address is not told: where
   * that wants to go may never come, and the page writes into it meanwhile.
   */
  adopt(url, useView, title = '') {
    this.url = url || 'about:blank';
    this.update({ loading: Boolean(url), title });
    this.#attach(useView);
  }

  /** The page of a view that is there already. */
  takeOver(handle) {
    const view = new WebView(handle);
    this.url = view.location() || 'about:blank';
    this.#attach(() => this.update({
      title: view.title(), canGoBack: view.canGoBack() === '1', canGoForward: view.canGoForward() === '1',
      favicon: imageOf(view.favicon()), secureType: view.secureType(), encryptionInfo: view.encryptionInfo(), scale: Number(view.scale()),
      progress: Number(view.loadProgress()), loading: Number(view.loadProgress()) < 100,
    }), view);
  }

  /** Asks the page whether it may be closed, and closes it if it agrees: "ended" follows. */
  askToEnd() {
    this.closing = true;
    this.view.destroyIfNotRejectedByUser();
  }

  /** The page would not be left after all: what was asked for is off. */
  stay() {
    if (this.closing) {
      this.closing = false;
      return this.update({}, 'stays');
    }
    this.update({ requested: '', url: this.view?.location() || this.url, loading: false, stopped: true });
  }

  stop() {
    if (this.ready) this.view.stop();
    this.update({ loading: false, stopped: true });
  }

  /** Whether there is a page to go to is the engine's to say: what is known here comes a little later. */
  goBack() {
    if (this.ready) this.view.goBack();
  }

  goForward() {
    if (this.ready) this.view.goForward();
  }

  /** Lays the web view over the rectangle; without one, hides it. Hidden pages have a size, too. */
  place(rect) {
    this.rect = rect;
    this.room = rect ?? this.room;
    if (!this.ready) return;
    if (this.room) this.view.setGeometry(this.room.x, this.room.y, this.room.width, this.room.height);
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
    this.update({
      loading: false, canGoBack: false, canGoForward: false, fullScreen: false,
      status: '', scale: 1, secureType: 'SecureNone', encryptionInfo: '',
    }, what);
  }

  /** It stays, and says what happened. */
  #lose(how) {
    this.ended = how;
    this.#detach(how);
  }

  /**
   * @param {(view: WebView) => void} start  gives the new view its page
   * @param {WebView} [view]  one that is there already
   */
  #attach(start, existing) {
    // A page that crashed one process may crash another: do not put it into a process of unrelated
    // pages.
    if (this.ended) this.process = this.processes.after(this.process);
    const view = existing ?? this.#createView();
    if (!view) return this.#lose('refused');
    this.view = view;
    this.ended = '';
    view.onProperty('Title', (title) => this.update({ title }));
    view.onProperty('Location', (at) => this.update({ url: at || this.url }));
    view.onProperty('Status', (status) => this.update({ status }));
    view.onProperty('CanGoBack', (canGoBack) => this.update({ canGoBack }));
    view.onProperty('CanGoForward', (canGoForward) => this.update({ canGoForward }));
    view.onProperty('LoadProgress', (progress) => this.update({ progress, loading: progress < 100 && !this.stopped }));
    view.onProperty('Scale', (scale) => this.update({ scale }));
    view.onProperty('Favicon', (icon) => this.update({ favicon: imageOf(icon) }));
    view.onProperty('SecureType', (secureType) => this.update({ secureType }));
    view.onProperty('EncryptionInfo', (encryptionInfo) => this.update({ encryptionInfo }));
    view.on('DocumentLoadCommitted', () => {
      this.update({ requested: '', title: '', stopped: false, loading: true, exceptions: [] }, 'committed');
    });
    view.on('DocumentLoadFinished', () => this.update({ loading: false, title: view.title() }, 'loaded'));
    view.on('DocumentLoadFailed', () => {
      // A load stopped by the user also ends in DocumentLoadFailed, which is not an error.
      this.update({ loading: false }, this.stopped ? undefined : 'failed');
    });
    view.on('FullScreenEnter', () => this.update({ fullScreen: true }));
    view.on('FullScreenExit', () => this.update({ fullScreen: false }));
    view.on('JavaScriptException', ({ data }) => {
      this.update({ exceptions: [...this.exceptions, data].slice(-MOST_EXCEPTIONS) });
    });
    view.on('OpenWindow', ({ data }) => {
      return this.report(this, { opens: data }) ? { setWait: true } : { setAction: 'DISCARD' };
    });
    view.on('CloseWindow', () => void this.report(this, 'ended'));
    // Who drives the program has turned to it. A report that comes late, of a tab that the chrome has left
    // since, finds the keyboard in the chrome.
    view.on('Focus', ({ data }) => void (data.isFocused && !document.hasFocus() && this.report(this, 'focused')));
    view.on('ProcessCrash', () => this.#lose('crashed'));
    view.on('Destroyed', () => {
      this.#detach('ended');
      // It has no page any more, but still its handle.
      view.delete();
    });
    view.whenCreated(() => {
      this.ready = true;
      // Before the first load; a window opened by a page inherits its settings.
      if (this.isPrivate && !this.opener && !existing) view.setPrivateBrowsing(true);
      // Placed before loading, so that the page is laid out once.
      this.place(this.rect);
      this.update({}, 'created');
      // Settings may have changed it.
      if (!this.isPrivate && view.isPrivateBrowsing() === '1') this.update({ isPrivate: true });
      start(view);
    });
    // Last, when the state is complete, but early enough for all events of the page.
    this.update({}, 'attached');
  }

  /** @returns {WebView|undefined} none when there is no process for it; the host has said so then */
  #createView() {
    try {
      return WebView.create(undefined, this.process.number || undefined);
    } catch {
      return undefined;
    }
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
