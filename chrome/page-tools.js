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

  constructor(tabs, { dialogs, preferences, downloads }) {
    this.#dialogs = dialogs;
    this.#preferences = preferences;
    this.#downloads = downloads;
    dialogs.onPrint = (tab, question) => this.#answer(tab, question);
  }

  print(tab) {
    if (!tab.ready) return;
    this.#wanted.add(tab);
    tab.view.executeJavaScript('print()', 'IsolatedWorld');
  }

  /** @param {(accepted: boolean, path?: string) => void} answer */
  #answer(tab, answer) {
    const isWanted = this.#wanted.delete(tab);
    const how = isWanted ? 'dialog' : this.#preferences.get('print');
    const toPdf = () => this.#toPdf(tab, answer);
    if (how === 'never') return answer(false);
    if (how === 'pdf') return toPdf();
    if (how === 'dialog') return answer(true);
    return this.#dialogs.ask(tab, {
      title: t('{place} would like to print', { place: placeOf(tab.url) }),
      accept: t('Print…'),
      other: t('Save as PDF'),
      cancel: t('Don’t print'),
      answer: (accepted, fields, isOther) => (isOther ? toPdf() : answer(accepted)),
      drop: () => answer(false),
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
