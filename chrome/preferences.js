/** What a person can set about the program itself, in one table; settings of pages are in settings.js. */

import { chooseLanguage, languageChoice, LANGUAGES, t } from './words.js';

/** Where a person who has chosen none looks for things: an address with %s in the place of what is looked for. */
const SEARCH = 'https://duckduckgo.com/?q=%s';

/**
 * @typedef {object} Preference
 * @property {string} name
 * @property {'flag'|'text'|'choice'} kind
 * @property {string} label
 * @property {string|boolean} standard
 * @property {string} [empty]              what stands in the empty field
 * @property {[string, string][]} [choices]  value and words
 * @property {boolean} [restarts]          it is for the next start of the chrome
 */

/** @type {Preference[]} */
export const PREFERENCES = [
  { name: 'theme', kind: 'choice', label: t('Colours of the program'), standard: '', choices: [['', t('as the system says')], ['light', t('light')], ['dark', t('dark')]] },
  { name: 'language', kind: 'choice', label: t('Language'), standard: '', restarts: true, choices: [['', t('as the system says')], ...Object.entries(LANGUAGES)] },
  { name: 'direction', kind: 'choice', label: t('Layout'), standard: '', restarts: true, choices: [['', t('as the language is written')], ['ltr', t('left to right')], ['rtl', t('right to left')]] },
  { name: 'startPage', kind: 'text', label: t('Start page'), standard: '', empty: t('the program’s own') },
  { name: 'search', kind: 'text', label: t('Search with'), standard: SEARCH, empty: t('address with %s; empty: no search') },
  { name: 'downloadFolder', kind: 'text', label: t('Folder for downloads'), standard: '', empty: t('the system’s') },
  { name: 'print', kind: 'choice', label: t('Pages print'), standard: 'ask', choices: [['ask', t('after a question')], ['dialog', t('with the print dialog')], ['pdf', t('into a PDF among the downloads')], ['never', t('never')]] },
  { name: 'restores', kind: 'flag', label: t('Open the pages of the last time at the start'), standard: false },
  { name: 'asksAtEnd', kind: 'flag', label: t('Ask before the window closes'), standard: true },
];

const LANGUAGE_NAMES = new Set(['language', 'direction']);

/** Reports "change" with the name. */
export class Preferences extends EventTarget {
  #store;

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => boolean}} store */
  constructor(store) {
    super();
    this.#store = store;
  }

  get(name) {
    if (LANGUAGE_NAMES.has(name)) return languageChoice[name];
    return this.#store.get('preferences')?.[name] ?? PREFERENCES.find((each) => each.name === name).standard;
  }

  set(name, value) {
    if (LANGUAGE_NAMES.has(name)) chooseLanguage({ [name]: value });
    else this.#store.set('preferences', { ...this.#store.get('preferences'), [name]: value });
    this.dispatchEvent(new CustomEvent('change', { detail: name }));
  }
}

/** Has the colours follow the choice. */
export function applyTheme(preferences, root = document.documentElement) {
  const apply = () => {
    const theme = preferences.get('theme');
    if (theme) root.dataset.theme = theme;
    else delete root.dataset.theme;
  };
  preferences.addEventListener('change', apply);
  apply();
}
