import { WebView } from 'pagehost:pagehost.js';

/** One page with what the chrome shows of it. */
export class Tab {
  title = '';
  url = '';
  problem = '';
  canGoBack = false;
  canGoForward = false;

  /**
   * @param {{changed: () => void, opened: (view: WebView) => void, closed: (tab: Tab) => void}} owner
   * @param {WebView} view
   */
  constructor(owner, view) {
    this.owner = owner;
    this.view = view;
    const follow = (property, key) => view.onProperty(property, (value) => this.#set({ [key]: value }));
    follow('Title', 'title');
    follow('Location', 'url');
    follow('CanGoBack', 'canGoBack');
    follow('CanGoForward', 'canGoForward');
    view.on('DocumentLoadCommitted', () => this.#set({ problem: '' }));
    view.onProcessEnd(({ cause }) => {
      this.#set({ problem: cause === 'memory' ? 'This page took too much memory.' : 'The process of this page has ended.' });
      return { setPreventDefault: true };
    });
    // The window is in a view of ours before the page goes on.
    view.on('OpenWindow', () => {
      const popup = WebView.create();
      owner.opened(popup);
      return { setView: `${popup.handle}` };
    });
    view.on('CloseWindow', () => owner.closed(this));
    view.setJavaScriptInterruptTimeout(10_000);
    view.on('JavaScriptInterrupted', () => view.stop());
    // A chrome that was loaded again.
    view.whenCreated(() => this.#set({ url: view.location(), title: view.title() }));
  }

  go(text) {
    this.#set({ problem: '' });
    this.view.loadURL(addressOf(text));
  }

  reload() {
    this.#set({ problem: '' });
    this.view.reload();
  }

  #set(fields) {
    Object.assign(this, fields);
    this.owner.changed();
  }
}

/** What a person has typed, as an address. */
export const addressOf = (text) => (/^[a-z][a-z0-9+.-]*:(?!\d)/i.test(text.trim()) ? text.trim() : `https://${text.trim()}`);
