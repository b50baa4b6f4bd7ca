/** Where one has been, over all tabs: a list by days, with a field that searches it. */

import { labelFor } from './address.js';
import { make, makePageRow } from './dom.js';
import { Panel } from './panel.js';
import { scoreOf } from './suggestions.js';
import { language, t } from './words.js';

const MOST_SHOWN = 300;
const DAY = new Intl.DateTimeFormat(language, { weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' });
const TIME = new Intl.DateTimeFormat(language, { hour: '2-digit', minute: '2-digit' });

export class VisitedPanel extends Panel {
  #visited;
  #open;
  #search = make('input', { type: 'search', className: 'search', placeholder: t('Search the history'), 'aria-label': t('Search the history') });
  #list = make('div');
  #clear = make('button', { type: 'button', className: 'text', textContent: t('Clear history') });
  #drawing = 0;
  #shown = '';

  /**
   * @param {import('./visited.js').Visited} visited
   * @param {(url: string, isBehind: boolean) => void} open
   */
  constructor(visited, open) {
    super('visited-panel', t('History'));
    this.#visited = visited;
    this.#open = open;
    this.#search.addEventListener('input', () => this.draw());
    this.#clear.addEventListener('click', () => visited.clear());
    this.body.append(this.#search, this.#list, this.#clear);
    visited.addEventListener('change', () => {
      if (this.isOpen) this.#drawing ||= requestAnimationFrame(() => this.refresh());
    });
  }

  get first() {
    return this.#search;
  }

  draw() {
    this.#drawing = 0;
    const words = this.#search.value.trim().toLowerCase().split(/\s+/).filter(Boolean);
    const pages = this.#visited.list.filter((page) => scoreOf(words, page, page.at)).slice(0, MOST_SHOWN);
    // Redrawing an unchanged list would lose the keyboard focus.
    const shown = JSON.stringify([words.length > 0, this.#visited.list.length > 0, pages.map(({ url, title, at }) => [url, title, at])]);
    if (shown === this.#shown) return;
    this.#shown = shown;
    const days = groupBy(pages, ({ at }) => DAY.format(at));
    this.#list.replaceChildren(...[...days].flatMap(([day, some]) => [
      make('h3', { textContent: day }), make('ul', { className: 'rows' }, ...some.map((page) => this.#makeRow(page))),
    ]));
    if (!pages.length) this.#list.append(make('p', { className: 'note', textContent: words.length ? t('Nothing found.') : t('Nothing yet.') }));
    this.#clear.hidden = !this.#visited.list.length;
  }

  #makeRow({ url, title, at }) {
    const name = title || labelFor(url);
    const { row, other } = makePageRow({ url, name, note: `${TIME.format(at)} · ${url}` }, this.#open, { icon: 'close', label: t('Remove {page}', { page: name }) });
    other.addEventListener('click', () => this.#visited.remove(url));
    return row;
  }
}

function groupBy(list, keyOf) {
  const groups = new Map();
  for (const each of list) groups.set(keyOf(each), [...(groups.get(keyOf(each)) ?? []), each]);
  return groups;
}
