// The keyboard belongs to one web view of the window at a time. What the chrome wants people to type
// into needs it for the chrome's own page first: focus inside a page that has no keyboard is unseen.

import { call, isHosted } from './pagehost.js';

const ROOT = 1;

/** Moves the keyboard to an element of the chrome. */
export function focus(element) {
  if (isHosted()) call('webview.setActive', ROOT, true);
  element.focus();
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
