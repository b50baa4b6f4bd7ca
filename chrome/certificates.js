/**
 * Servers that cannot prove who they are: a person decides, in a sheet above the page.
 * What was accepted counts for all tabs until the program ends, or until it is taken back.
 */

import { placeOf } from './address.js';
import { makeFacts } from './dom.js';
import { focus } from './keyboard.js';
import { Questions } from './questions.js';
import { t } from './words.js';

const MARKUP = `
  <h2 id="certificate-title"></h2>
  <p>${t('Somebody may be posing as it, to read what you send there.')}</p>
  <ul id="certificate-problems"></ul>
  <details><summary>${t('The certificate')}</summary><div id="certificate-facts"></div></details>
  <div class="row">
    <button type="button" id="certificate-accept">${t('Accept and go on')}</button>
    <button class="primary" id="certificate-back">${t('Go back')}</button>
  </div>`;

/**
 * The last page before a refused one. Of that, the history may have no entry, an empty one, or two.
 * @param {{url: string}[]} history
 * @returns {number} its place in the history; -1 if there is none
 */
export function placeBefore(history, position, refused) {
  let at = position;
  while (at >= 0 && (history[at].url === refused || history[at].url === 'about:blank')) at -= 1;
  return at;
}

function goBack(tab, refused, home) {
  const { view } = tab;
  const history = JSON.parse(view.getHistoryList() || '[]');
  const position = Math.min(Number(view.historyPosition()), history.length - 1);
  const at = placeBefore(history, position, refused);
  tab.stay();
  // For the history the page is already current, although the host shows its own page.
  if (at < 0 || at === position) tab.navigate(history[at]?.url ?? home);
  else view.setHistoryPosition(at);
}

/** What the web views have accepted. Reports "change". */
export class KnownCertificates extends EventTarget {
  #tabs;

  constructor(tabs) {
    super();
    this.#tabs = tabs;
    // A web view only knows the certificates it was told about.
    tabs.addEventListener('created', ({ detail: { view } }) => {
      const known = this.all;
      if (Object.keys(known).length) view.addKnownSSLCertificates(JSON.stringify(known));
    });
  }

  /** @returns {Record<string, object>} by host */
  get all() {
    return Object.assign({}, ...this.#views.map((view) => JSON.parse(view.knownSSLCertificates() || '{}')));
  }

  accept(view, streamId, certificate) {
    view.continueSSLHandshaking(streamId, 'SSLActionTrust');
    const host = certificate.host;
    for (const other of this.#views) if (other !== view) other.addKnownSSLCertificate(host, JSON.stringify(certificate));
    this.dispatchEvent(new Event('change'));
  }

  remove(host) {
    for (const view of this.#views) view.removeKnownSSLCertificate(host, '');
    this.dispatchEvent(new Event('change'));
  }

  removeAll() {
    for (const view of this.#views) view.removeAllKnownSSLCertificates();
    this.dispatchEvent(new Event('change'));
  }

  get #views() {
    return this.#tabs.list.filter((tab) => tab.ready).map((tab) => tab.view);
  }
}

export class CertificateSheet {
  #form;
  #questions;

  /**
   * @param {HTMLFormElement} form
   * @param {{known: KnownCertificates, home: string}} options  home: where to, if there is no way back
   */
  constructor(form, tabs, { known, home }) {
    this.#form = form;
    form.innerHTML = MARKUP;
    this.#questions = new Questions(tabs, (question) => this.#show(question));
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#answer(false);
    });
    this.#part('accept').addEventListener('click', () => this.#answer(true));
    form.addEventListener('keydown', (event) => {
      if (event.key !== 'Escape') return;
      event.stopPropagation();
      this.#answer(false);
    });
    tabs.addEventListener('attached', ({ detail: tab }) => this.#listen(tab, known, home));
  }

  isAsking(tab) {
    return this.#questions.isAsking(tab);
  }

  #listen(tab, known, home) {
    const { view } = tab;
    const reject = (streamId) => view.continueSSLHandshaking(streamId, 'SSLActionReject');
    view.on('SSLHandshakingFailed', ({ data: { connectionInfo, streamId, url } }) => {
      // A later refusal replaces an earlier one.
      this.#questions.drop(tab);
      let failureIsShown = false;
      this.#questions.ask(tab, {
        url,
        connectionInfo,
        // The host shows an error page of its own at the refused address.
        outlives: () => {
          if (failureIsShown || view.location() !== url) return false;
          failureIsShown = true;
          return true;
        },
        answer: (accepted) => {
          if (accepted) {
            tab.update({ loading: true, progress: 0, stopped: false });
            return known.accept(view, streamId, connectionInfo);
          }
          reject(streamId);
          return goBack(tab, url, home);
        },
        drop: () => tab.view === view && reject(streamId),
      });
    });
  }

  #part(name) {
    return this.#form.querySelector(`#certificate-${name}`);
  }

  #show(question) {
    this.#form.hidden = !question;
    if (!question) return;
    const { url, connectionInfo: { problems, subject, issuer } } = question;
    this.#part('title').textContent = t('{place} does not prove who it is', { place: placeOf(url) });
    this.#part('problems').replaceChildren(...problems.map((text) => Object.assign(document.createElement('li'), { textContent: text })));
    this.#part('facts').replaceChildren(makeFacts([[t('Issued to'), subject], [t('Issued by'), issuer], [t('Address'), url]]));
    this.#form.querySelector('details').open = false;
    focus(this.#part('back'));
  }

  #answer(accepted) {
    const question = this.#questions.shown;
    if (!question) return;
    this.#questions.done(question);
    question.answer(accepted);
  }
}
