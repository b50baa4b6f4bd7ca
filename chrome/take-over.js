/**
 * Web views outlive the chrome's document: when that is loaded anew, or its process has ended, the next
 * one takes them over as tabs. What only the chrome knows about them is kept beside, by their handles.
 */

import { HERE } from './processes.js';
import { call } from './pagehost.js';

export class TakeOver {
  #tabs;
  #store;
  #name;

  /**
   * @param {{get: (name: string) => any, set: (name: string, value: any) => boolean}} store
   * @param {string} viewer  the name of a window that another one has opened, and with which it shares the store
   */
  constructor(tabs, store, viewer) {
    this.#tabs = tabs;
    this.#store = store;
    this.#name = viewer ? `views.${viewer}` : 'views';
  }

  /** @returns {boolean} whether there was anything */
  run() {
    const handles = this.#left();
    const known = this.#known(handles);
    const processes = new Map([[0, HERE]]);
    const processOf = (number) => processes.get(number) ?? processes.set(number, { number }).get(number);
    let front = null;
    // In the order of the strip; what the former chrome had besides, such as lists over pages, is none of it.
    for (const { handle, process, isFront, historyForgotten = false, ...rest } of known) {
      if (!handles.delete(handle)) continue;
      const tab = Object.assign(this.#tabs.takeOver(handle, { process: processOf(process), ...rest }), { historyForgotten });
      if (isFront) front = tab;
    }
    for (const handle of handles) call('webview.delete', handle);
    if (this.#tabs.list.length) this.#tabs.activate(front ?? this.#tabs.list[0]);
    return this.#tabs.list.length > 0;
  }

  /** Keeps what there is, from now on. */
  watch() {
    const types = ['attached', 'created', 'closed', 'crashed', 'moved', 'chosen', 'forgotten'];
    for (const type of types) this.#tabs.addEventListener(type, () => this.#keep());
    this.#keep();
  }

  /** What was kept; if it is of another time, all that there are. */
  #known(handles) {
    const kept = this.#store.get(this.#name);
    const known = Array.isArray(kept) ? kept : [];
    return known.some(({ handle }) => handles.has(handle)) ? known : [...handles].map((handle) => ({ handle, process: 0 }));
  }

  #left() {
    // Asked for in first.js.
    return new Set(JSON.parse(globalThis.leftWebViews || '[]').map(Number));
  }

  #keep() {
    const { list, active } = this.#tabs;
    this.#store.set(this.#name, list.filter(({ view }) => view).map((tab) => ({
      handle: tab.view.handle, process: tab.process.number, isPrivate: tab.isPrivate, isPinned: tab.isPinned, isFront: tab === active,
      historyForgotten: tab.historyForgotten,
    })));
  }
}
