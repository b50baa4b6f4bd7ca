/** What is done with a whole page: printed, saved, shown as the text that it is made of. */

import { labelFor, placeOf } from './address.js';
import { escaped } from './dom.js';
import { fileNameFor } from './downloads.js';
import { showToast } from './toast.js';
import { t } from './words.js';

const MOST_SOURCE = 4 << 20;

/** A script of ours in the page, beside its own: what the page has done to its functions does not matter. */
export const textOf = (view, script) => view.run(script, 'IsolatedWorld').catch(() => '');

/** Answers pages that print, as a person has set it, and prints when a person wants it. */
export class Printing {
  #dialogs;
  #preferences;
  #downloads;
  /** Tabs that print because a person has said so. */
  #wanted = new WeakSet();
  /** Tabs whose document has printed by itself. */
  #printed = new WeakSet();
  /** What is asked about, and who learns the answer, by tab. @type {WeakMap<object, {answer: (accepted: boolean, path?: string) => void}>} */
  #asked = new WeakMap();

  constructor(tabs, { dialogs, preferences, downloads }) {
    this.#dialogs = dialogs;
    this.#preferences = preferences;
    this.#downloads = downloads;
    dialogs.onPrint = (tab, answer, canBeSilenced) => this.#answer(tab, answer, canBeSilenced);
    dialogs.isPrintWanted = (tab) => this.#wanted.has(tab);
    tabs.addEventListener('committed', ({ detail: tab }) => this.#printed.delete(tab));
  }

  print(tab) {
    if (!tab.ready) return;
    this.#wanted.add(tab);
    tab.view.executeJavaScript('print()', 'IsolatedWorld');
  }

  /** @param {(accepted: boolean, path?: string) => void} answer */
  #answer(tab, answer, canBeSilenced) {
    if (this.#wanted.delete(tab)) return answer(true);
    const how = this.#preferences.get('print');
    if (how === 'never') return answer(false);
    // A document that prints in a loop does so once without a question.
    const isFirst = !this.#printed.has(tab);
    this.#printed.add(tab);
    if (how === 'pdf' && isFirst) return this.#toPdf(tab, answer);
    if (how === 'dialog' && isFirst) return answer(true);
    return this.#ask(tab, answer, canBeSilenced);
  }

  #ask(tab, answer, canBeSilenced) {
    const before = this.#asked.get(tab);
    // The page has not waited, and the host has forgotten what it asked before.
    if (before) return void (before.answer = answer);
    const asked = { answer };
    this.#asked.set(tab, asked);
    const settle = (accepted, isOther) => {
      this.#asked.delete(tab);
      if (isOther) this.#toPdf(tab, asked.answer);
      else asked.answer(accepted);
    };
    return this.#dialogs.ask(tab, {
      title: t('{place} would like to print', { place: placeOf(tab.url) }),
      accept: t('Print…'),
      other: t('Save as PDF'),
      cancel: t('Don’t print'),
      canBeSilenced,
      isInLoop: true,
      answer: (accepted, fields, isOther) => settle(accepted, isOther),
      drop: () => settle(false),
    });
  }

  #toPdf(tab, answer) {
    const folder = this.#downloads.folder;
    if (!folder) {
      showToast(t('For PDFs the settings need a folder for downloads.'));
      return answer(false);
    }
    const path = `${folder}/${this.#downloads.nameFor(`${fileNameFor(tab.title || labelFor(tab.url))}.pdf`, folder)}`;
    this.#downloads.addFile(tab, path);
    return answer(true, path);
  }
}

export function savePage(tab) {
  if (tab.ready) tab.view.downloadUrl(tab.url, '', 0);
}

/** As the server has sent it, where the page lets it be asked for again; else as it is now. */
const SOURCE = `(() => {
  try {
    const request = new XMLHttpRequest();
    request.open('GET', location.href, false);
    request.send();
    if (request.status < 400 && request.responseText) return request.responseText.slice(0, ${MOST_SOURCE});
  } catch {}
  return new XMLSerializer().serializeToString(document).slice(0, ${MOST_SOURCE});
})()`;

/** In a tab of its own. Nothing of it may run there. */
export async function showSource(tabs, tab) {
  if (!tab.ready) return;
  const { label, url } = tab;
  const source = await textOf(tab.view, SOURCE);
  const lines = source.split('\n').map((line) => `<li>${escaped(line) || ' '}`);
  tabs.openText(`<!doctype html><meta charset="utf-8"><meta name="color-scheme" content="light dark">
    <meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
    <title>${escaped(t('Source of {page}', { page: label }))}</title>
    <style>body { margin: 0; font: 13px/1.5 ui-monospace, monospace; } p { margin: 0; padding: 8px 16px; border-bottom: 1px solid #8886; font-family: system-ui, sans-serif; }
    ol { margin: 0; padding: 8px 0 16px 5em; white-space: pre-wrap; overflow-wrap: anywhere; tab-size: 4; } li::marker { color: #888; }</style>
    <p>${escaped(url)}</p><ol>${lines.join('')}</ol>`, { beside: tab, isPrivate: tab.isPrivate });
}
