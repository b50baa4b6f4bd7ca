// The keyboard focus belongs to one web view of the window at a time. Before the chrome focuses an input
// field, its own page must get it: DOM focus in a page without it has no visible effect.

import { call, isHosted, listBindings } from './pagehost.js';

const ROOT = 1;

/** The tab whose page shall have the keyboard, once it is there. */
let awaited = null;

/** Moves the keyboard to an element of the chrome. */
export function focus(element) {
  awaited = null;
  if (isHosted()) call('webview.setActive', ROOT, true);
  element.focus();
}

/** Moves it to the page of a tab, which has it as soon as it is there. */
export function focusPage(tab) {
  awaited = tab.ready ? null : tab;
  if (tab.ready) tab.view.setActive(true);
}

/**
 * A tab that comes to the front has the keyboard, unless a person types in the chrome: so it does
 * also after a page has opened it, and at the start.
 */
export function followFocus(tabs, { isTyping }) {
  tabs.addEventListener('chosen', ({ detail: tab }) => !isTyping() && focusPage(tab));
  // The view that was closed may have had the keyboard until after the next one came to the front.
  tabs.addEventListener('closed', () => setTimeout(() => !document.hasFocus() && tabs.active?.ready && focusPage(tabs.active)));
  tabs.addEventListener('created', ({ detail: tab }) => tab === awaited && tab === tabs.active && focusPage(tab));
}

const KEYS = {
  0xff09: 'Tab', 0xfe20: 'Tab', 0xff1b: 'Escape', 0xffff: 'Delete', 0xff0d: 'Enter',
  0xff51: 'ArrowLeft', 0xff52: 'ArrowUp', 0xff53: 'ArrowRight', 0xff54: 'ArrowDown', 0xff55: 'PageUp', 0xff56: 'PageDown',
  ...Object.fromEntries(Array.from({ length: 12 }, (_, index) => [0xffbe + index, `F${index + 1}`])),
};

/** A key that a page did not take, as the documents of this world know keys. */
export function keyOf({ keycode, character, ctrlActive, altActive, shiftActive }) {
  const key = KEYS[keycode] ?? String.fromCodePoint(character);
  return { key, ctrlKey: ctrlActive, altKey: altActive, shiftKey: shiftActive };
}

/** What a table of keys calls it, for example "Ctrl+Shift+Tab"; letters are small, and signs need no shift. */
export function nameOf({ key, ctrlKey, altKey, shiftKey }) {
  const isSign = key.length === 1 && key.toLowerCase() === key.toUpperCase();
  const held = [ctrlKey && 'Ctrl', altKey && 'Alt', shiftKey && !isSign && 'Shift'].filter(Boolean);
  return [...held, key.length === 1 ? key.toLowerCase() : key].join('+');
}

/**
 * Has the commands run on their keys: those that are reserved wherever the keyboard is, the others in
 * the chrome, and in a page that does not take them.
 * @param {Record<string, import('./commands.js').Command>} commands
 */
export function connectKeys(tabs, platform, commands) {
  const byKey = new Map(Object.values(commands).flatMap((command) => (command.keys ?? []).map((key) => [key, command])));
  const run = (name) => {
    const command = byKey.get(name);
    if (!command || command.isThere?.() === false) return false;
    command.run();
    return true;
  };
  document.addEventListener('keydown', (event) => {
    if (run(nameOf(event))) event.preventDefault();
  });
  tabs.addEventListener('attached', ({ detail: tab }) => tab.view.on('UnhandledKeyInput', ({ data }) => {
    if (data.keyDown && tab === tabs.active) run(nameOf(keyOf(data)));
  }));
  platform.addEventListener('onReservedKey', ({ detail: [name] }) => run(name));
  const reserved = [...byKey].filter(([, { isReserved }]) => isReserved).map(([key]) => key);
  if (isHosted() && listBindings().includes('applicationWindow.setReservedKeys')) call('applicationWindow.setReservedKeys', ...reserved);
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
