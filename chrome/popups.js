/** Menus and other things that open over the page, and close when one does something else. */

import { make } from './dom.js';
import { focus } from './keyboard.js';

const EDGE = 4;
/** @type {import('./cutouts.js').Cutouts} */
let cutouts;
let open = null;

/** Says who makes room for them in the page. */
export function preparePopups(room, tabs) {
  cutouts = room;
  tabs.addEventListener('chosen', () => closePopup());
  window.addEventListener('resize', () => closePopup());
  // The page, or another program, has the keyboard now.
  window.addEventListener('blur', () => closePopup());
  document.addEventListener('pointerdown', (event) => {
    if (open && !open.element.contains(event.target) && !open.anchor?.contains(event.target)) closePopup();
  }, true);
}

export const isPopupOpen = () => Boolean(open);

/**
 * @param {HTMLElement} element
 * @param {{x: number, y: number} | HTMLElement} at  its corner, or what it stands below
 * @param {{onClose?: () => void}} [options]
 */
export function openPopup(element, at, { onClose } = {}) {
  closePopup();
  const isElement = at instanceof Element;
  open = { element, anchor: isElement ? at : null, onClose };
  element.classList.add('popup');
  document.body.append(element);
  const isMirrored = getComputedStyle(element).direction === 'rtl';
  const rect = isElement ? at.getBoundingClientRect() : { left: at.x, right: at.x, top: at.y, bottom: at.y };
  // Below its button there is most of the window; what does not fit there is scrolled to.
  if (isElement) element.style.maxHeight = `${window.innerHeight - rect.bottom - EDGE}px`;
  const { width, height } = element.getBoundingClientRect();
  const wanted = isMirrored ? rect.right - width : rect.left;
  const left = Math.max(EDGE, Math.min(wanted, window.innerWidth - width - EDGE));
  const isBelow = rect.bottom + height + EDGE <= window.innerHeight;
  // A menu at the pointer opens upwards where there is more room, and is moved into the window at any rate.
  const top = isBelow ? rect.bottom : Math.max(EDGE, Math.min(rect.top, window.innerHeight - EDGE) - height);
  element.style.left = `${Math.round(left)}px`;
  element.style.top = `${Math.round(top)}px`;
  cutouts?.add(element);
}

export function closePopup() {
  if (!open) return;
  const { element, onClose } = open;
  open = null;
  cutouts?.remove(element);
  element.remove();
  onClose?.();
}

/**
 * @typedef {object} MenuEntry
 * @property {string} label
 * @property {() => void} run
 * @property {string} [key]       that does the same
 * @property {boolean} [isOff]    it can be seen, but not chosen
 * @property {boolean} [isThere]  false: it is left out
 */

/**
 * A menu at a place or below an element. The keyboard goes to it, and back to who had it before the
 * entry runs.
 * @param {(MenuEntry|null)[]} entries  null: a line between groups
 * @param {{x: number, y: number} | HTMLElement} at
 * @param {object} options
 * @param {string} options.label            what the menu is of
 * @param {() => void} [options.goBack]     gives the keyboard to who gets it afterwards
 * @param {{head: HTMLElement, fields: object, onClose: () => void}} [options.main]  what the program's own menu has besides;
 *   its first entry has the keyboard at once
 */
export function openMenu(entries, at, { label, goBack, main }) {
  const there = withoutSpareLines(entries.filter((entry) => entry?.isThere !== false));
  if (!there.length) return;
  const before = document.activeElement;
  const hadIt = document.hasFocus();
  const back = goBack ?? (() => hadIt && before?.isConnected && before !== document.body && focus(before));
  const menu = make('div', { className: 'menu-popup', role: 'menu', tabIndex: -1, 'aria-label': label, ...main?.fields }, ...(main ? [main.head] : []));
  for (const entry of there) menu.append(entry ? makeEntry(entry, () => (closePopup(), back())) : make('div', { role: 'separator' }));
  menu.addEventListener('keydown', (event) => onMenuKey(event, menu, back));
  menu.addEventListener('pointermove', ({ target }) => target.closest('button:enabled')?.focus());
  openPopup(menu, at, { onClose: main?.onClose });
  focus((main && menu.querySelector('[role="menuitem"]:enabled')) ?? menu);
}

function withoutSpareLines(entries) {
  return entries.filter((entry, index) => entry || (index > 0 && entries[index - 1] && entries.slice(index + 1).some(Boolean)));
}

function makeEntry({ label, run, key = '', isOff = false }, close) {
  const button = make('button', { type: 'button', role: 'menuitem', tabIndex: -1, disabled: isOff },
    make('span', { textContent: label }), make('kbd', { textContent: key, 'aria-hidden': 'true' }));
  button.addEventListener('click', () => {
    close();
    run();
  });
  return button;
}

function onMenuKey(event, menu, back) {
  const all = [...menu.querySelectorAll('button:enabled')];
  const at = all.indexOf(document.activeElement);
  const places = { ArrowDown: at + 1, ArrowUp: at < 0 ? all.length - 1 : at - 1, Home: 0, End: all.length - 1 };
  event.stopPropagation();
  if (event.key in places) {
    all[(places[event.key] + all.length) % all.length]?.focus();
  } else if (event.key === 'Escape' || event.key === 'Tab') {
    closePopup();
    back();
  } else if (event.key.length === 1 && event.key !== ' ' && !event.ctrlKey && !event.altKey) {
    const next = [...all.slice(at + 1), ...all].find(({ textContent }) => textContent.toLowerCase().startsWith(event.key.toLowerCase()));
    next?.focus();
  } else {
    return;
  }
  event.preventDefault();
}
