/**
 * What closes only when a person agrees: pages that ask, downloads that run, the last tab, the window.
 * What was closed is remembered for a while, and can be brought back.
 */

import { isPage } from './address.js';
import { call, isHosted, listBindings } from './pagehost.js';
import { t } from './words.js';

const MOST_REMEMBERED = 25;
/** A page that neither agrees nor asks within this time hangs: its tab closes without it. */
const ANSWERS_WITHIN = 2000;

export class Closing {
  /** The latest last. */
  closed = [];
  #tabs;
  #dialogs;
  #session;
  #isStart;
  #runningIn;
  #asks;
  /** Whether the window closes, one tab after the other. */
  #isEnding = false;
  /** Of those that were asked whether they may be closed. */
  #timers = new WeakMap();

  /**
   * @param {object} parts
   * @param {(tab: object) => boolean} parts.isStart     whether nothing is lost with it
   * @param {() => boolean} [parts.asks]                whether the window is asked about because of its pages
   * @param {(tab?: object) => number} parts.runningIn   how many downloads of the tab, or of all, run
   */
  constructor(tabs, { dialogs, session, isStart, runningIn, asks = () => true }) {
    this.#tabs = tabs;
    this.#dialogs = dialogs;
    this.#session = session;
    this.#isStart = isStart;
    this.#runningIn = runningIn;
    this.#asks = asks;
    tabs.addEventListener('unwanted', ({ detail: tab }) => this.close(tab));
    tabs.addEventListener('closed', ({ detail: tab }) => this.#remember(tab));
    tabs.addEventListener('stays', ({ detail: tab }) => {
      clearTimeout(this.#timers.get(tab));
      this.#isEnding = false;
      session.thaw();
    });
    tabs.addEventListener('closed', () => this.#isEnding && this.#closeNext());
  }

  /** Has the window's close button ask as well. */
  guardWindow(platform) {
    platform.addEventListener('onCloseRequest', () => this.closeWindow());
    const name = 'applicationWindow.setAsksBeforeClosing';
    if (isHosted() && listBindings().includes(name)) call(name, true);
  }

  /** As a person wants it: who would lose something is asked. */
  close(tab) {
    if (tab.closing) return;
    const { list } = this.#tabs;
    if (list.length === 1 && !this.#isStart(tab)) return this.closeWindow();
    const count = this.#runningIn(tab);
    if (!count) return this.#end(tab);
    this.#ask(tab, {
      title: t('Close this tab?'),
      message: count === 1 ? t('A download of it is running. It goes on without being shown.') : t('{count} downloads of it are running. They go on without being shown.', { count }),
      accept: t('Close the tab'),
    }, () => this.#end(tab));
  }

  closeAll(tabs) {
    for (const tab of tabs) if (!tab.isPinned) this.close(tab);
  }

  closeWindow() {
    const { list, active } = this.#tabs;
    const pages = list.filter((tab) => !this.#isStart(tab)).length;
    const downloads = this.#runningIn();
    if (!downloads && (!pages || !this.#asks())) return this.#closeAllOfWindow();
    return this.#ask(active, {
      title: t('Close the window?'),
      message: [
        pages === 1 ? t('A page is open.') : t('{count} pages are open.', { count: pages }),
        downloads === 1 ? t('A download is running, and ends.') : downloads ? t('{count} downloads are running, and end.', { count: downloads }) : '',
        t('After the next start the pages can be opened again.'),
      ].filter(Boolean).join('\n'),
      accept: t('Close the window'),
    }, () => this.#closeAllOfWindow());
  }

  /** Brings the last one back, with its history, where it was. */
  reopen() {
    const last = this.closed.pop();
    if (!last) return;
    const { url, title, state, process, ...place } = last;
    const isThere = !process.number || this.#tabs.processes.running.includes(process);
    this.#tabs.activate(this.#tabs.reopen(url, title, state, isThere ? process : this.#tabs.processes.fresh(), place));
  }

  #ask(tab, words, go) {
    // Asked already: whoever asks again means it no more than before.
    if (tab.askedToClose) return;
    tab.askedToClose = true;
    const done = () => { tab.askedToClose = false; };
    this.#dialogs.ask(tab, {
      ...words,
      cancel: t('Keep it open'),
      answer: (accepted) => {
        done();
        if (accepted) go();
      },
      drop: done,
    });
    this.#tabs.activate(tab);
  }

  #end(tab) {
    if (!tab.ready || this.#isStart(tab)) return this.#tabs.close(tab);
    // What comes next has the keyboard at once. A page that asks comes to the front again.
    if (!this.#isEnding) this.#tabs.stepAside(tab);
    tab.askToEnd();
    this.#timers.set(tab, setTimeout(() => {
      // A question to the person, of whatever kind, is an answer.
      if (tab.closing && !tab.asking) this.#tabs.close(tab);
    }, ANSWERS_WITHIN));
  }

  #closeAllOfWindow() {
    this.#session.freeze();
    this.#isEnding = true;
    this.#closeNext();
  }

  /** One after the other: a page that asks is shown, and those behind it wait for the answer. */
  #closeNext() {
    const [tab] = this.#tabs.list;
    if (!tab) return call('application.requestExit');
    if (tab.closing) return undefined;
    this.#tabs.activate(tab);
    return this.#end(tab);
  }

  #remember(tab) {
    if (tab.isPrivate || this.#isStart(tab) || !isPage(tab.url)) return;
    const { url, title, process, isPinned, lastPlace: index } = tab;
    this.closed.push({ url, title, process, isPinned, index, state: this.#session.stateOf(tab) });
    this.closed.splice(0, this.closed.length - MOST_REMEMBERED);
  }
}
