/** What pages left on this machine: the cookies of this one, and ways to clear it. */

import { placeOf } from './address.js';
import { make } from './dom.js';
import { WebView } from './pagehost.js';
import { Panel } from './panel.js';
import { t } from './words.js';

/** What can be cleared, by the command that does it. It always concerns all sites. */
const KINDS = [
  { command: 'clearCookies', label: t('Cookies'), about: t('You will be logged out.') },
  { command: 'clearCache', label: t('Caches'), about: t('Copies of what was loaded.') },
  { command: 'clearDatabases', label: t('Databases'), about: t('Larger things that pages keep.') },
  { command: 'clearLocalStorage', label: t('Local storage'), about: t('Small things that pages keep.'), ownToo: true },
  { command: 'clearBrowsingData', label: t('Everything'), about: t('All of the above.'), ownToo: true },
];

/** @param {string} cookie  as a server would set it */
export function cookieParts(cookie) {
  const [pair, ...rest] = cookie.split(';').map((part) => part.trim());
  const at = pair.indexOf('=');
  return { name: pair.slice(0, at < 0 ? undefined : at), value: at < 0 ? '' : pair.slice(at + 1), rest: rest.join(', ') };
}

export class SiteDataPanel extends Panel {
  #tabs;
  #store;
  #title = make('h3');
  #list = make('ul', { className: 'rows' });
  #state = make('p', { className: 'note', role: 'status' });

  constructor(tabs, store) {
    super('site-data-panel', t('Clear data'));
    this.#tabs = tabs;
    this.#store = store;
    this.body.append(
      make('p', { className: 'note', textContent: t('Of all sites, for all tabs.') }),
      make('ul', { className: 'rows' }, ...KINDS.map((kind) => this.#makeKind(kind))),
      this.#state, this.#title, this.#list,
    );
    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('CookieResult', ({ data }) => void (tab === tabs.active && data.url === tab.url && this.#drawCookies(data)));
    });
    let shown;
    tabs.addEventListener('change', ({ detail: tab }) => {
      const now = [tab.view?.handle, tab.url, tab.loading].join();
      if (now !== shown) this.#ask();
      shown = now;
    });
  }

  draw() {
    this.#state.textContent = '';
    this.#ask();
  }

  #makeKind({ command, label, about, ownToo }) {
    const button = make('button', { type: 'button', className: 'text', textContent: t('Clear'), 'aria-label': t('Clear {what}', { what: label }) });
    button.addEventListener('click', async () => {
      const clear = () => this.#stores().forEach((view) => view[command]());
      if (ownToo) await this.#store.outlive(clear);
      else clear();
      this.#state.textContent = t('{what}: cleared.', { what: label });
      this.#ask();
    });
    return make('li', {}, make('div', {}, make('b', { textContent: label }), make('small', { textContent: about })), button);
  }

  /** One web view for each place where pages' data is: in every process the lasting one, and that of private tabs. */
  #stores() {
    const stores = new Map([['0 0', WebView.root]]);
    for (const { ready, view, process } of this.#tabs.list) {
      if (ready) stores.set(`${process.number} ${view.isPrivateBrowsing()}`, view);
    }
    return [...stores.values()];
  }

  #ask() {
    const { ready, view, url } = this.#tabs.active;
    const isOfSite = /^https?:/.test(url);
    this.#title.textContent = isOfSite ? t('Cookies of {place}', { place: placeOf(url) }) : t('This page has no cookies');
    if (!isOfSite || !ready) this.#list.replaceChildren();
    else if (this.isOpen) view.getCookies(url);
  }

  #drawCookies({ cookies }) {
    const rows = cookies.map((cookie) => {
      const { name, value, rest } = cookieParts(cookie);
      return make('li', {}, make('div', {}, make('b', { textContent: name }), make('code', { textContent: value }), make('small', { textContent: rest })));
    });
    this.#list.replaceChildren(...rows);
    if (!rows.length) this.#list.append(make('li', { className: 'note', textContent: t('None.') }));
  }
}
