/** What a click on a link means, by its button and the keys that are held. */

import { isBlockedPort, mayLead } from './address.js';
import { showToast } from './toast.js';
import { t } from './words.js';

const SHIFT = 1;
const CONTROL = 4;
const MIDDLE = 2;

/**
 * @param {{button: number, modifierMask: number}} click  as the host tells it
 * @returns {'behind'|'tab'|'window'|''} a tab that stays behind, one in front, a window; empty: as the page wants
 */
export function meaningOf({ button = 0, modifierMask = 0 }) {
  const isShifted = (modifierMask & SHIFT) !== 0;
  if (button === MIDDLE || (modifierMask & CONTROL) !== 0) return isShifted ? 'tab' : 'behind';
  return isShifted ? 'window' : '';
}

/** Follows clicks on links that shall not be opened where they are. */
export class Links {
  #tabs;
  #openWindow;

  /** @param {(url: string) => void} openWindow */
  constructor(tabs, openWindow) {
    this.#tabs = tabs;
    this.#openWindow = openWindow;
    tabs.addEventListener('attached', ({ detail: tab }) => tab.view.on('LocationChanging', ({ data }) => this.#follow(tab, data)));
  }

  #follow(tab, { navigationType, url, ...click }) {
    const port = portOf(url);
    if (port) {
      // The engine would show an empty page without a word.
      if (navigationType === 'LinkClicked') showToast(t('Port {port} is that of another service than the web. Pages are not loaded from it.', { port }));
      return { setPreventDefault: true };
    }
    const meaning = navigationType === 'LinkClicked' && meaningOf(click);
    // What it must not lead to, and what other programs open, is the engine's to refuse or to ask about.
    if (!meaning || !mayLead(tab.url, url)) return undefined;
    // The page waits for this answer; a new web view takes longer.
    setTimeout(() => this.open(tab, url, meaning));
    return { setPreventDefault: true };
  }

  /** @param {'behind'|'tab'|'window'} where */
  open(tab, url, where) {
    if (!mayLead(tab.url, url)) return;
    // A page of a private tab must not leave traces by way of another window.
    if (where === 'window' && !tab.isPrivate && /^https?:/.test(url)) this.#openWindow(url);
    else this.#tabs.open(url, tab.process, { isPrivate: tab.isPrivate, beside: tab, isBehind: where === 'behind' });
  }
}

function portOf(url) {
  try {
    return isBlockedPort(url);
  } catch {
    return 0;
  }
}
