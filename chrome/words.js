/**
 * The words of the chrome in the language of the person. What stands in the code is English; a table
 * per language, chrome/words/LANGUAGE.js, has the others under the English words.
 */

import { de } from './words/de.js';

const TABLES = { en: {}, de };
/** What they call themselves. */
export const LANGUAGES = { en: 'English', de: 'Deutsch' };
const RIGHT_TO_LEFT = new Set(['ar', 'fa', 'he', 'ur', 'yi']);

/** Read before everything else, and therefore not from the store. */
const KEY = 'pagehost.language';
const stored = () => {
  try {
    return JSON.parse(globalThis.localStorage?.getItem(KEY) ?? 'null') ?? {};
  } catch {
    return {};
  }
};

const chosen = stored();
const wanted = chosen.language || globalThis.navigator?.language || 'en';
/** The language that the chrome speaks: "en" where it does not know that of the person. */
export const language = [wanted, wanted.split(/[-_]/)[0]].find((name) => name in TABLES) ?? 'en';
/** @type {'ltr'|'rtl'} */
export const direction = chosen.direction || (RIGHT_TO_LEFT.has(language) ? 'rtl' : 'ltr');

/** What was chosen, for the settings; empty texts stand for what the system says. */
export const languageChoice = { language: chosen.language ?? '', direction: chosen.direction ?? '' };

/** For the next start of the chrome. */
export function chooseLanguage(choice) {
  Object.assign(languageChoice, choice);
  globalThis.localStorage?.setItem(KEY, JSON.stringify(languageChoice));
}

/**
 * @param {string} english  with names in braces, for example "{count} pages"
 * @param {Record<string, unknown>} [values]  what stands there instead of the names
 */
export function t(english, values = {}) {
  const text = TABLES[language][english] ?? english;
  return text.replace(/\{(\w+)\}/g, (all, name) => (name in values ? String(values[name]) : all));
}

/** Translates what stands in the document itself: its texts, and the attributes that are read. */
export function translateDocument(root = document.documentElement) {
  root.lang = language;
  root.dir = direction;
  const walker = document.createTreeWalker(root, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const node = walker.currentNode;
    const text = node.data.trim().replace(/\s+/g, ' ');
    if (text in TABLES[language]) node.data = node.data.replace(/\S[^]*\S|\S/, () => t(text));
  }
  for (const name of ['title', 'aria-label', 'placeholder']) {
    for (const element of root.querySelectorAll(`[${name}]`)) element.setAttribute(name, t(element.getAttribute(name)));
  }
}
