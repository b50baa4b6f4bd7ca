/**
 * What a person can set about pages: one table, and what was chosen from it. A choice
 * goes to the current tab at once, and to every later tab before its first page.
 */

import { WebView } from './pagehost.js';
import { t } from './words.js';

/**
 * The name is that of the host's property; getter and setter follow from it and the kind.
 * @typedef {object} Setting
 * @property {string} name
 * @property {'flag'|'number'|'text'|'color'} kind
 * @property {string} label
 * @property {boolean} [inverse]  the label says the opposite of the host's name
 * @property {boolean} [later]    not for the current tab, which would start anew
 * @property {boolean} [start]    what tabs have where nothing was chosen, instead of the host's own
 * @property {[number, number]} [range]
 * @property {string} [empty]     what stands in the empty field
 * @property {string[]} [choices] suggestions
 */

const ENCODINGS = ['utf-8', 'iso-8859-1', 'iso-8859-15', 'windows-1251', 'windows-1252', 'koi8-r', 'gb18030', 'big5', 'shift_jis', 'euc-jp', 'euc-kr'];

/** @type {[string, Setting[]][]} */
export const SETTING_GROUPS = [
  [t('What pages may do'), [
    { name: 'EnableJavaScript', kind: 'flag', label: t('Run scripts') },
    { name: 'LoadImages', kind: 'flag', label: t('Load images') },
    { name: 'EnableDownloadableBinaryFonts', kind: 'flag', label: t('Load fonts') },
    { name: 'BlockPopups', kind: 'flag', label: t('Open windows unasked'), inverse: true },
    { name: 'EnableCookies', kind: 'flag', label: t('Keep cookies') },
    { name: 'EnableWebSockets', kind: 'flag', label: t('Use web sockets') },
    { name: 'EnableGeolocation', kind: 'flag', label: t('Ask where you are') },
    { name: 'EnableCrossSiteXHR', kind: 'flag', label: t('Read from other sites') },
  ]],
  [t('Look'), [
    { name: 'DefaultFontSize', kind: 'number', label: t('Font size'), range: [6, 72] },
    { name: 'MinimumFontSize', kind: 'number', label: t('Smallest font size'), range: [0, 72] },
    { name: 'BackgroundColor', kind: 'color', label: t('Background') },
    { name: 'UserStyleSheetLocation', kind: 'text', label: t('Style sheet of your own'), empty: t('file or data: address') },
  ]],
  [t('Text and keys'), [
    { name: 'DefaultTextEncoding', kind: 'text', label: t('Encoding where none is given'), choices: ENCODINGS },
    { name: 'ForcedTextEncoding', kind: 'text', label: t('Encoding of every page'), empty: t('as pages say'), choices: ENCODINGS },
    { name: 'EnableSpatialNavigation', kind: 'flag', label: t('Move between links with arrow keys') },
    { name: 'EnableFormAutofill', kind: 'flag', label: t('Remember what is typed into forms'), start: true },
    { name: 'EnableCredentialAutofill', kind: 'flag', label: t('Offer to save log-ins'), start: true },
  ]],
  [t('Who you are'), [
    { name: 'UserAgent', kind: 'text', label: t('Name of the browser'), empty: t('the engine’s own') },
    { name: 'PrivateBrowsing', kind: 'flag', label: t('New tabs leave nothing behind'), later: true },
  ]],
];

export const SETTINGS = SETTING_GROUPS.flatMap(([, settings]) => settings);

const getterOf = ({ name, kind }) => (kind === 'flag' ? `is${name}` : name[0].toLowerCase() + name.slice(1));

/** Opaque colours cross as a number; the first byte is how opaque. */
export const colorText = (number) => `#${(Number(number) & 0xffffff).toString(16).padStart(6, '0')}`;
export const colorNumber = (text) => String(0xff000000 + parseInt(text.slice(1), 16));

/**
 * @param {Setting} setting
 * @param {string|boolean} entered
 * @returns {string|boolean|null} the value for the host; null if it is none
 */
export function valueOf({ kind, range, inverse }, entered) {
  if (kind === 'flag') return entered !== Boolean(inverse);
  if (kind === 'color') return /^#[0-9a-f]{6}$/i.test(entered) ? colorNumber(entered) : null;
  const text = entered.trim();
  if (kind === 'text') return text;
  return /^\d+$/.test(text) && text >= range[0] && text <= range[1] ? String(Number(text)) : null;
}

export class Settings {
  #store;

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => void}} store */
  constructor(tabs, store) {
    this.#store = store;
    tabs.addEventListener('created', ({ detail: tab }) => this.#prepare(tab));
  }

  /** @returns {string} as the host tells it; of a setting for later tabs, what they will have */
  read(view, setting) {
    const { name, later } = setting;
    if (later) return this.#chosen[name] ? '1' : '0';
    return view[getterOf(setting)]();
  }

  /** Asks the host even where the value looks the same: it is the host that decides. */
  choose(view, { name, later }, value) {
    this.#store.set('settings', { ...this.#chosen, [name]: value });
    if (!later) view?.[`set${name}`](value);
  }

  /** The host's own values again. The chrome's own web view still has them. */
  reset(view) {
    for (const setting of SETTINGS.filter(({ name, later }) => name in this.#chosen && !later)) {
      const standard = setting.start === undefined ? WebView.root[getterOf(setting)]() : setting.start ? '1' : '0';
      view?.[`set${setting.name}`](setting.kind === 'flag' ? standard === '1' : standard);
    }
    this.#store.set('settings', {});
  }

  get #chosen() {
    return this.#store.get('settings') ?? {};
  }

  #prepare({ view, opener, isPrivate }) {
    const chosen = this.#chosen;
    for (const { name, later, start } of SETTINGS) {
      if (start !== undefined && !(name in chosen)) view[`set${name}`](start);
      // A window opened by a page shares its storage, and a private tab stays private.
      if (name in chosen && !(later && (opener || isPrivate))) view[`set${name}`](chosen[name]);
    }
  }
}
