/** Native windows that follow a finger or the mouse; those that move by themselves are `animate`'s. */

import { call } from './pagehost.js';

export { animate } from './pagehost.js';

const releaseListeners = new Set();

// Shared: other modules add their functions to this object.
const { internal } = globalThis.chrome;
internal.windowAnimations = {
  ...internal.windowAnimations,
  onDragTouchRelease() {
    for (const listener of [...releaseListeners]) listener();
  },
};

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
