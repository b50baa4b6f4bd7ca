/**
 * Where the chrome lies over the page: native web views cover whatever is drawn below them, so the
 * parts under menus, lists and the like are cut out of the page's window while they show.
 */

import { call } from './pagehost.js';

/**
 * @param {{x, y, width, height}} room   the page's place in the window
 * @param {{left, top, right, bottom}} rect  what shall show there
 * @returns {number[]|null} the part of the room that it takes, from the room's corner; null if it takes none
 */
export function partOf(room, rect) {
  const left = Math.max(Math.floor(rect.left), room.x);
  const top = Math.max(Math.floor(rect.top), room.y);
  const right = Math.min(Math.ceil(rect.right), room.x + room.width);
  const bottom = Math.min(Math.ceil(rect.bottom), room.y + room.height);
  return right > left && bottom > top ? [left - room.x, top - room.y, right - left, bottom - top] : null;
}

export class Cutouts {
  #tabs;
  #elements = new Set();
  #sizes = new ResizeObserver(() => this.update());
  /** The view whose window has parts cut out, and which. */
  #cut = { view: null, parts: '' };

  constructor(tabs) {
    this.#tabs = tabs;
    tabs.addEventListener('change', () => this.update());
    window.addEventListener('resize', () => this.update());
  }

  /** Whatever shall be seen over the page, from now on. Its place is looked at again by `update`. */
  add(element) {
    this.#elements.add(element);
    this.#sizes.observe(element);
    this.update();
  }

  remove(element) {
    this.#elements.delete(element);
    this.#sizes.unobserve(element);
    this.update();
  }

  update() {
    const { ready, rect, view } = this.#tabs.active ?? {};
    const parts = ready && rect ? [...this.#elements].flatMap((element) => partOf(rect, element.getBoundingClientRect()) ?? []) : [];
    const text = parts.join();
    if (this.#cut.view && this.#cut.view !== view) this.#apply(this.#cut.view, []);
    if (view && ready && (this.#cut.view !== view || this.#cut.parts !== text)) this.#apply(view, parts);
    this.#cut = { view: parts.length ? view : null, parts: text };
  }

  #apply(view, parts) {
    // It may have gone meanwhile.
    const isThere = this.#tabs.list.some((tab) => tab.ready && tab.view === view);
    const window = isThere && Number(view.jsScreenWindowHandle());
    if (window) call('window.setDiscardRects', window, ...parts);
  }
}
