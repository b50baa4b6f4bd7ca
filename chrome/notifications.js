/** What pages notify of: rows between the toolbar and the page, until they are clicked or closed. */

import { placeOf } from './address.js';
import { make } from './dom.js';
import { t } from './words.js';

/** One page must not push everything else out of sight. */
const MOST_SHOWN = 3;

/** What is on show, the latest first. Reports "change". */
export class NotificationList extends EventTarget {
  items = [];
  #tabs;

  constructor(tabs) {
    super();
    this.#tabs = tabs;
    tabs.addEventListener('attached', ({ detail: tab }) => {
      const { view } = tab;
      view.on('NotificationShow', ({ data }) => void this.#add({ ...data, tab, view }));
      view.on('NotificationCancel', ({ data }) => this.#keep((item) => item.view !== view || item.id !== data.id));
    });
    for (const end of ['closed', 'crashed']) {
      tabs.addEventListener(end, ({ detail: tab }) => this.#keep((item) => item.tab !== tab));
    }
  }

  /** To the page that it is from, which hears of it. */
  click(item) {
    this.#keep((each) => each !== item);
    this.#tabs.activate(item.tab);
    item.view.notificationClicked(item.id);
    item.view.notificationClosed(item.id);
  }

  close(item) {
    this.#keep((each) => each !== item);
    item.view.notificationClosed(item.id);
  }

  #add(item) {
    // A notification with the same tag is an update.
    const old = this.items.find(({ view, id, tag }) => view === item.view && (id === item.id || (tag && tag === item.tag)));
    this.items = [item, ...this.items.filter((each) => each !== old)];
    if (old && old.id !== item.id) old.view.notificationClosed(old.id);
    item.view.notificationShown(item.id);
    for (const late of this.items.slice(MOST_SHOWN)) this.close(late);
    this.dispatchEvent(new Event('change'));
  }

  #keep(which) {
    const kept = this.items.filter(which);
    if (kept.length === this.items.length) return;
    this.items = kept;
    this.dispatchEvent(new Event('change'));
  }
}

export class NotificationRows {
  /** @param {HTMLElement} element */
  constructor(element, list) {
    list.addEventListener('change', () => {
      element.hidden = !list.items.length;
      element.replaceChildren(...list.items.map((item) => this.#makeRow(list, item)));
    });
  }

  #makeRow(list, item) {
    const text = make('button', { type: 'button', className: 'entry' },
      make('b', { textContent: item.title || t('Notification') }), make('span', { textContent: item.body }), make('small', { textContent: placeOf(item.origin) }));
    const close = make('button', { type: 'button', className: 'icon', 'aria-label': t('Close {page}', { page: item.title }) });
    close.innerHTML = '<svg><use href="#i-close"/></svg>';
    text.addEventListener('click', () => list.click(item));
    close.addEventListener('click', () => list.close(item));
    return make('li', {}, text, close);
  }
}
