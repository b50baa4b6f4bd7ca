// The keyboard focus belongs to one web view of the window at a time. Before the chrome focuses an input
// field, its own page must get it: DOM focus in a page without it has no visible effect.

import { call, isHosted } from './pagehost.js';

const ROOT = 1;

/** Moves the keyboard to an element of the chrome. */
export function focus(element) {
  if (isHosted()) call('webview.setActive', ROOT, true);
  element.focus();
}

const KEYS = {
  0xff09: 'Tab', 0xfe20: 'Tab', 0xff1b: 'Escape', 0xffff: 'Delete', 0xffc2: 'F5',
  0xff51: 'ArrowLeft', 0xff52: 'ArrowUp', 0xff53: 'ArrowRight', 0xff54: 'ArrowDown',
};

/** A key that a page did not take, as the documents of this world know keys. */
export function keyOf({ keycode, character, ctrlActive, altActive, shiftActive }) {
  const key = KEYS[keycode] ?? String.fromCodePoint(character);
  return { key, ctrlKey: ctrlActive, altKey: altActive, shiftKey: shiftActive };
}

/** What a table of keys calls it, for example "Ctrl+Shift+Tab"; letters are small. */
export function nameOf({ key, ctrlKey, altKey, shiftKey }) {
  const held = [ctrlKey && 'Ctrl', altKey && 'Alt', shiftKey && 'Shift'].filter(Boolean);
  return [...held, key.length === 1 ? key.toLowerCase() : key].join('+');
}

/** Up and down lead from one to the next of the elements in the list, around the ends. */
export function moveWithArrows(list, selector) {
  list.addEventListener('keydown', (event) => {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (!step) return;
    event.preventDefault();
    const all = [...list.querySelectorAll(selector)];
    all[(all.indexOf(document.activeElement) + step + all.length) % all.length].focus();
  });
}
