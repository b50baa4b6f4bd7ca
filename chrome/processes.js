/**
 * The processes that tabs live in. Which number names which child process is the chrome's choice. It
 * takes the lowest one that no tab has, so that it always knows who lives with whom: the host does not
 * tell the number of a process that it chose itself.
 */

import { t } from './words.js';

/** @typedef {{number: number}} Process  one life of a process; the next one with that number is another */

/** Where the chrome itself lives. What ends it ends everything. */
export const HERE = Object.freeze({ number: 0 });

export class Processes {
  #tabs;
  /** What a process that ended is continued in. @type {WeakMap<Process, Process>} */
  #successors = new WeakMap();

  /** @param {{list: import('./tab.js').Tab[]}} tabs */
  constructor(tabs) {
    this.#tabs = tabs;
  }

  /** The tabs whose web views are in it; in one that ended there are none. */
  tabsIn(process) {
    return this.#tabs.list.filter((tab) => tab.view && tab.process === process);
  }

  /** The child processes, by their numbers. @returns {Process[]} */
  get running() {
    const used = new Set(this.#tabs.list.filter(({ view }) => view).map(({ process }) => process));
    used.delete(HERE);
    return [...used].sort((a, b) => a.number - b.number);
  }

  /** One of its own for a tab. The number is taken as soon as the tab has its web view. @returns {Process} */
  fresh() {
    const taken = new Set(this.running.map(({ number }) => number));
    let number = 1;
    while (taken.has(number)) number += 1;
    return { number };
  }

  /** Where the tabs of a process that ended go on: together again, and with nobody else. @returns {Process} */
  after(process) {
    const successor = this.#successors.get(process);
    if (successor && this.tabsIn(successor).length) return successor;
    const next = this.fresh();
    this.#successors.set(process, next);
    return next;
  }

  /** Where the tab lives, in words. */
  describe(tab) {
    if (!tab.view) return t('Without a process');
    if (tab.process === HERE) return t('In the program’s own process');
    const others = this.tabsIn(tab.process).filter((each) => each !== tab);
    return others.length
      ? t('In process {number}, with {pages}', { number: tab.process.number, pages: namesOf(others) })
      : t('In process {number}, alone', { number: tab.process.number });
  }
}

/** One by its name; of more, how many. */
export function namesOf([first, ...rest]) {
  if (!rest.length) return `“${first.label}”`;
  return rest.length === 1 ? t('“{page}” and another tab', { page: first.label }) : t('“{page}” and {count} other tabs', { page: first.label, count: rest.length });
}
