/** Native windows that move and fade by themselves, or with a finger or the mouse. */

import { call } from './pagehost.js';

/** Who waits for the end of an animation, by its id. */
const waiting = new Map();
const releaseListeners = new Set();

// Shared: other modules add their functions to this object.
const chrome = (globalThis.chrome ??= {});
chrome.internal = {
  ...chrome.internal,
  windowAnimations: {
    onWindowAnimationFinished(id) {
      waiting.get(id)?.();
      waiting.delete(id);
    },
    onDragTouchRelease() {
      for (const listener of [...releaseListeners]) listener();
    },
  },
};

/**
 * Moves or fades windows together.
 * @param {{curve: 'Linear'|'EaseInCurve'|'EaseOutCurve', duration: number}} timing  milliseconds
 * @param {{window: string|number, from: number[], to: number[]}[]} changes  places as [x, y], or alphas of 0 to 255 as [alpha]
 * @returns {Promise<void>} when the last of them has ended
 */
export function animate({ curve, duration }, changes) {
  const there = changes.filter(({ window }) => Number(window));
  const kinds = [['animateWindowLocationMultiple', 2], ['animateGlobalAlphaMultiple', 1]];
  const ends = kinds.flatMap(([name, size]) => {
    const some = there.filter(({ from }) => from.length === size);
    if (!some.length) return [];
    const last = Number(call(`windowAnimations.${name}`, curve, duration, ...some.flatMap(({ window, from, to }) => [window, ...from, ...to])));
    call('windowAnimations.startAnimation');
    return some.map((_, i) => new Promise((resolve) => waiting.set(last - i, resolve)));
  });
  return Promise.all(ends).then(() => {});
}

/** Windows that follow a drag from left to right. */
export class DragGroup {
  #id;

  constructor(...windows) {
    this.#id = call('windowTouchTracking.createWindowTouchTrackingGroup', ...windows);
  }

  /** From where they are now, by min to max pixels, while the finger is that far from start. */
  follow(min, max, start) {
    call('windowTouchTracking.setWindowGroupTrackX', this.#id, true, min, max, start);
  }

  /** Their alpha goes from one value to the other while the finger goes from min to max. */
  fade(min, max, [from, to], start) {
    call('windowTouchTracking.setWindowGroupTrackXToAlpha', this.#id, true, min, max, from, to - from, start);
  }

  stop() {
    call('windowTouchTracking.setWindowGroupTrackX', this.#id, null, 0, 0, 0);
    call('windowTouchTracking.setWindowGroupTrackXToAlpha', this.#id, null, 0, 0, 0, 0, 0);
  }

  /** How far it has been dragged, in pixels. */
  get delta() {
    return Number(call('windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaX', this.#id));
  }

  destroy() {
    call('windowTouchTracking.destroyWindowTouchTrackingGroup', this.#id);
  }
}

/** @returns {() => void} ends the listening */
export function onDragRelease(listener) {
  releaseListeners.add(listener);
  return () => releaseListeners.delete(listener);
}
