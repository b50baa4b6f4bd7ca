/**
 * What waits for a person's answer. Every tab has its own row of questions; the
 * first one of the active tab is shown, those of other tabs only mark their tab.
 *
 * A question is an object with `drop()`, called when it is dropped unanswered.
 * A page that went away cannot be asked about any more; a question about a page that
 * never came has `outlives()`, which tells whether the page that came has to do with it.
 */
export class Questions {
  #tabs;
  #show;
  #rows = new Map();
  #shown = null;

  /**
   * @param {import('./tabs.js').Tabs} tabs
   * @param {(question: object|null, tab: object) => void} show  shows this question, or hides the last one
   */
  constructor(tabs, show) {
    this.#tabs = tabs;
    this.#show = show;
    tabs.addEventListener('change', () => this.#refresh());
    for (const end of ['crashed', 'closed']) tabs.addEventListener(end, ({ detail: tab }) => this.drop(tab));
    tabs.addEventListener('committed', ({ detail: tab }) => this.drop(tab, (question) => !question.outlives?.()));
  }

  get shown() {
    return this.#shown;
  }

  ask(tab, question) {
    this.#rows.set(tab, [...(this.#rows.get(tab) ?? []), question]);
    this.#mark(tab);
  }

  /** The question is answered. Whoever shows it tells the host before. */
  done(question) {
    for (const [tab, row] of this.#rows) {
      if (!row.includes(question)) continue;
      this.#remove(tab, [question]);
      this.#mark(tab);
    }
  }

  isAsking(tab) {
    return this.#rows.has(tab);
  }

  /** How many of its questions wait. */
  countOf(tab) {
    return this.#rows.get(tab)?.length ?? 0;
  }

  /** These shall not be asked any more. */
  drop(tab, which = () => true) {
    const dropped = (this.#rows.get(tab) ?? []).filter(which);
    if (!dropped.length) return;
    this.#remove(tab, dropped);
    dropped.forEach((question) => question.drop());
    this.#mark(tab);
  }

  #remove(tab, questions) {
    const rest = this.#rows.get(tab).filter((each) => !questions.includes(each));
    if (rest.length) this.#rows.set(tab, rest);
    else this.#rows.delete(tab);
  }

  /** Dialogs and permissions wait independently; the tab is marked while one of them does. */
  #mark(tab) {
    tab.waiting = (tab.waiting ?? new Set());
    tab.waiting[this.isAsking(tab) ? 'add' : 'delete'](this);
    tab.update({ asking: tab.waiting.size > 0 });
    this.#refresh();
  }

  #refresh() {
    const first = this.#rows.get(this.#tabs.active)?.[0] ?? null;
    if (first === this.#shown) return;
    this.#shown = first;
    this.#show(first, this.#tabs.active);
  }
}
