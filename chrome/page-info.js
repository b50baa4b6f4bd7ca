/** What is known about the page's connection, and whose certificates were accepted nevertheless. */

import { securityOf } from './address.js';
import { make, makeFacts } from './dom.js';
import { Panel } from './panel.js';
import { t } from './words.js';

const SUMMARIES = {
  secure: t('The connection is encrypted, and the server has proved who it is.'),
  failed: t('The connection is encrypted, but the server has not proved who it is.'),
  insecure: t('The connection is not encrypted. Others can read and change what is sent.'),
  '': t('This page did not come over the network, or from this machine only.'),
};

/** The moments of the host, in the way of the person at the screen. */
const dateText = ({ text } = {}) => (text ? new Date(text).toLocaleString() : '');

/** A long number in pairs, as other programs show it, so that the two can be compared. */
export const pairs = (text = '') => text.replace(/[^0-9a-f]/gi, '').toUpperCase().match(/../g)?.join(' ') ?? '';

/** @returns {[string, string][]} what to say about a certificate */
export function certificateFacts({ subject = {}, issuer = {}, validFrom, validTo, publicKey, fingerprint, hostNames = [] }) {
  return [
    [t('Issued to'), subject.commonName || subject.name],
    [t('Organisation'), subject.organization],
    [t('For'), hostNames.join(', ')],
    [t('Issued by'), [issuer.commonName || issuer.name, issuer.organization].filter(Boolean).join(', ')],
    [t('Valid from'), dateText(validFrom)],
    [t('Valid until'), dateText(validTo)],
    [t('Key'), publicKey?.bits ? t('{algorithm}, {count} bits', { algorithm: publicKey.algorithm, count: publicKey.bits }) : publicKey?.algorithm],
    [t('Fingerprint'), pairs(fingerprint)],
  ];
}

function securityInfoOf(view) {
  try {
    return JSON.parse(view.securityInfo());
  } catch {
    return {};
  }
}

export class PageInfoPanel extends Panel {
  #tabs;
  #known;

  constructor(tabs, known) {
    super('page-info-panel', t('Page information'));
    this.#tabs = tabs;
    this.#known = known;
    known.addEventListener('change', () => this.refresh());
    tabs.addEventListener('change', ({ detail: tab }) => {
      // Ignore other changes: redrawing loses the keyboard focus.
      const shown = [tab.view?.handle, tabs.processes.describe(tab), tab.url, tab.secureType, tab.encryptionInfo, tab.loading].join();
      if (shown === this.#shown) return;
      this.#shown = shown;
      this.refresh();
    });
  }
  #shown = '';

  draw() {
    const tab = this.#tabs.active;
    const info = tab.ready ? securityInfoOf(tab.view) : {};
    const security = securityOf(tab.url, tab.secureType);
    const { connectionDetails: { cipher = {}, since } = {}, connection = {}, certificates = [] } = info;
    const isSecured = Boolean(info.page?.secured);
    this.body.replaceChildren(
      make('p', { className: `summary ${security}`, textContent: SUMMARIES[security] }),
      makeFacts([
        [t('Title'), tab.title],
        [t('Address'), tab.url],
        [t('Encryption'), isSecured ? [cipher.protocol, cipher.name].filter(Boolean).join(', ') || tab.encryptionInfo : t('None')],
        [t('Received'), dateText(since)],
        [t('Process'), this.#tabs.processes.describe(tab)],
        [t('Private'), tab.ready && tab.view.isPrivateBrowsing() === '1' ? t('Leaves nothing on this machine') : ''],
      ]),
      ...this.#section(t('Problems'), connection.problems?.length
        && make('ul', { className: 'problems' }, ...connection.problems.map((text) => make('li', { textContent: text })))),
      ...certificates.flatMap((certificate, index) => this.#section(
        index ? t('Vouched for by') : t('Certificate'), makeFacts(certificateFacts(certificate)))),
      ...this.#drawKnown(),
    );
  }

  #section(title, content) {
    return content ? [make('h3', { textContent: title }), content] : [];
  }

  #drawKnown() {
    const known = Object.entries(this.#known.all);
    if (!known.length) return [];
    const rows = known.map(([host, { problems = [] }]) => {
      const remove = make('button', { type: 'button', className: 'text', textContent: t('Remove'), 'aria-label': t('Remove {page}', { page: host }) });
      remove.addEventListener('click', () => this.#known.remove(host));
      return make('li', {}, make('div', {}, make('b', { textContent: host }), make('small', { textContent: problems.join('; ') })), remove);
    });
    const all = make('button', { type: 'button', className: 'text', textContent: t('Remove all') });
    all.addEventListener('click', () => this.#known.removeAll());
    return [make('h3', { textContent: t('Accepted certificates') }), make('ul', { className: 'rows' }, ...rows), all];
  }
}
