/** The bookmarks: opened, renamed in their place, taken away. */

import { make, makePageRow } from './dom.js';
import { Panel } from './panel.js';
import { openMenu } from './popups.js';
import { t } from './words.js';

export class BookmarksPanel extends Panel {
  #bookmarks;
  #open;
  #list = make('ul', { className: 'rows' });
  #none = make('p', { className: 'note', textContent: t('The star in the address field, or Ctrl+D, keeps a page here.') });

  /**
   * @param {import('./bookmarks.js').Bookmarks} bookmarks
   * @param {(url: string, isBehind: boolean) => void} open
   */
  constructor(bookmarks, open) {
    super('bookmarks-panel', t('Bookmarks'));
    this.#bookmarks = bookmarks;
    this.#open = open;
    this.body.append(this.#none, this.#list);
    bookmarks.addEventListener('change', () => this.refresh());
  }

  get first() {
    return this.#list.querySelector('button');
  }

  draw() {
    const { list } = this.#bookmarks;
    this.#none.hidden = list.length > 0;
    this.#list.replaceChildren(...list.map((each) => this.#makeRow(each)));
  }

  #makeRow({ url, title }) {
    const name = title || url;
    const { row, other: more } = makePageRow({ url, name }, this.#open, { icon: 'menu', label: t('What to do with {page}', { page: name }) });
    more.setAttribute('aria-haspopup', 'menu');
    const openRowMenu = (at) => openMenu([
      { label: t('Open in a new tab'), run: () => this.#open(url, true) },
      { label: t('Rename'), run: () => this.#rename(row, url, name) },
      { label: t('Remove'), run: () => this.#bookmarks.remove(url) },
    ], at, { label: name, goBack: () => more.focus() });
    more.addEventListener('click', () => openRowMenu(more));
    row.addEventListener('contextmenu', (event) => {
      event.preventDefault();
      openRowMenu({ x: event.clientX, y: event.clientY });
    });
    return row;
  }

  #rename(row, url, name) {
    const field = make('input', { type: 'text', className: 'search', value: name, 'aria-label': t('Name') });
    let isOver = false;
    const end = (title) => {
      if (isOver) return;
      isOver = true;
      if (title) this.#bookmarks.rename(url, title);
      else this.refresh();
    };
    field.addEventListener('keydown', (event) => {
      if (!['Enter', 'Escape'].includes(event.key)) return;
      event.stopPropagation();
      end(event.key === 'Enter' ? field.value.trim() : '');
    });
    field.addEventListener('blur', () => end(field.value.trim()));
    row.replaceChildren(field);
    field.focus();
    field.select();
  }
}
