/**
 * A page that stays: it is loaded again, ever more patiently, when its server or its process is
 * gone. Until then its view is hidden, so that the chrome below can say what is wrong.
 */
import { WebView } from 'pagehost:pagehost.js';

/** Milliseconds. */
const PATIENCE = 30_000;
const STUCK = 10_000;
const FIRST_PAUSE = 1_000;
const LONGEST_PAUSE = 60_000;

/** What a server has answered that was there, and had no page. */
const STATUS = 'performance.getEntriesByType("navigation")[0]?.responseStatus ?? 0';

export class KeptPage {
  #timer;
  /** Which attempt this is: what was begun in an earlier one has nothing to say. */
  #turn = 0;
  #pause = FIRST_PAUSE;
  #isOver = false;

  /**
   * @param {string} url
   * @param {{view?: WebView, changed?: (problem: string, page: KeptPage) => void}} [options]
   *   view: one that is there already; changed: told of every problem, and '' when there is none
   */
  constructor(url, { view = WebView.create(), changed = () => {} } = {}) {
    this.view = view;
    this.url = url;
    this.problem = '…';
    this.changed = changed;
    view.setVisible(false);
    view.setJavaScriptInterruptTimeout(STUCK);
    view.on('JavaScriptInterrupted', () => view.stop());
    view.on('DocumentLoadFinished', () => void this.#finished());
    // Also of a process that has ended.
    view.on('NetworkError', ({ data }) => {
      this.#failed(data.message);
      return { setPreventDefault: true };
    });
    view.created.then(() => {
      if (this.#isOver) return;
      // A chrome that was loaded again finds its pages as they were.
      if (view.location() === url) this.#finished();
      else this.open();
    }, ({ message }) => !this.#isOver && this.changed(this.problem = message, this));
  }

  /** Goes to an address, and comes back to it from now on. */
  open(url = this.url) {
    if (this.#isOver) return;
    this.url = url;
    this.#turn += 1;
    this.#later(PATIENCE, () => this.#failed('The server does not answer.'));
    this.view.loadURL(url);
  }

  /** Lays it over an element of the chrome. */
  place(element) {
    const { left, top, right, bottom } = element.getBoundingClientRect();
    const [x, y] = [Math.round(left), Math.round(top)];
    this.view.setGeometry(x, y, Math.max(1, Math.round(right) - x), Math.max(1, Math.round(bottom) - y));
  }

  /** Nothing more is heard of it. */
  delete() {
    clearTimeout(this.#timer);
    this.#isOver = true;
    this.view.delete();
  }

  async #finished() {
    const turn = this.#turn;
    const status = Number(await this.view.run(STATUS).catch(() => 0));
    if (turn !== this.#turn || this.#isOver) return undefined;
    if (status >= 500) return this.#failed(`The server answers ${status}.`);
    clearTimeout(this.#timer);
    this.#pause = FIRST_PAUSE;
    return this.#tell('');
  }

  #failed(problem) {
    if (this.#isOver) return;
    this.#turn += 1;
    this.#tell(problem);
    this.#later(this.#pause, () => this.open());
    this.#pause = Math.min(2 * this.#pause, LONGEST_PAUSE);
  }

  #tell(problem) {
    this.problem = problem;
    this.view.setVisible(!problem);
    this.changed(problem, this);
  }

  #later(milliseconds, action) {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(action, milliseconds);
  }
}
