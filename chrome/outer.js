/** What other programs open: addresses that are not the web's, files, windows of their own. */

import { placeOf } from './address.js';
import { call, isHosted } from './pagehost.js';
import { showToast } from './toast.js';
import { t } from './words.js';

export class OuterPrograms {
  #asked = new Map();
  #number = 0;

  /** @param {import('./infobar.js').Infobar} infobar  asks before a page has something opened */
  constructor(tabs, platform, infobar) {
    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('UnknownProtocol', ({ data: { scheme, url } }) => {
        // A page that asks in a loop is asked about once.
        if (!tab.outerAsked) setTimeout(() => this.#ask(tab, infobar, scheme, url));
        // What was asked for in the address field stays no address of the tab.
        if (tab.requested === url) tab.stay();
        return { setPreventDefault: true };
      });
    });
    platform.addEventListener('onInvokeResponse', ({ detail: [id, , error] }) => {
      const what = this.#asked.get(id);
      this.#asked.delete(id);
      if (what && error) showToast(t('No program of this machine opens {what}.', { what }));
    });
    platform.addEventListener('onInvokeViewerResponse', ({ detail: [id, result] }) => {
      const isOurs = this.#asked.delete(id);
      if (isOurs && /"error"/.test(result)) showToast(t('Another window could not be opened.'));
    });
  }

  openAddress(url) {
    this.#invoke({ uri: url }, t('addresses that begin with “{scheme}:”', { scheme: url.split(':')[0] }));
  }

  openFile(path) {
    this.#invoke({ file: path }, `“${path.split('/').pop()}”`);
  }

  openFolderOf(path) {
    const file = path.slice(0, path.lastIndexOf('/')) || '/';
    this.#invoke({ file }, t('folders'));
  }

  /** A program of its own, with a window; it ends with this one. */
  openWindow(url) {
    const id = this.#next('window');
    if (isHosted()) call('invocation.invokeViewer', id, id, JSON.stringify({ uri: url }));
  }

  #invoke(request, what) {
    const id = this.#next(what);
    if (isHosted()) call('invocation.invoke', id, JSON.stringify(request));
  }

  #next(what) {
    this.#number += 1;
    const id = `outer-${this.#number}`;
    this.#asked.set(id, what);
    return id;
  }

  #ask(tab, infobar, scheme, url) {
    if (tab.outerAsked) return;
    tab.outerAsked = true;
    const done = () => { tab.outerAsked = false; };
    infobar.ask(tab, {
      text: t('{place} would like to open an address that begins with “{scheme}:” in another program.', { place: placeOf(tab.url), scheme }),
      allow: t('Open'),
      deny: t('Don’t open'),
      answer: (allowed) => {
        done();
        if (allowed) this.openAddress(url);
      },
      drop: done,
    });
  }
}
