/** What people type into the address field, and what is shown of an address. */

import { t } from './words.js';

const PASSED = /^(https?|local|file|data|about|blob):/i;
const LOOPBACK = /^(localhost|127(\.\d+){3}|\[::1\])(?=[:/?#]|$)/i;
const ENCODED_HOST = /^([a-z][a-z0-9+.-]*:\/\/(?:[^/?#]*@)?)([^/?#:@]*xn--[^/?#:@]*)(?=(?::\d*)?(?:[/?#]|$))/i;
const SCHEME = /^([a-z][a-z0-9+.-]*):(?!\d+(?:[/?#]|$))/i;

/** Handed to the application that is registered for them. */
const OUTER = /^(mailto|tel|sms|geo|xmpp|magnet|callto):./i;
/** A name with a dot, a number of the network, or a host with a port. */
const HOST_LIKE = /^(?:[^\s/?#@]+@)?(?:[^\s/?#:]+\.[^\s/?#:.]{2,}\.?|\d+(?:\.\d+){3}|\[[\da-f:.]+\]|[\w-]+(?=:\d+))(?::\d+)?(?=[/?#]|$)/i;

/** Ports that the engine does not connect to, without a word: those of services that are not the web's. */
const BLOCKED_PORTS = new Set([
  1, 7, 9, 11, 13, 15, 17, 19, 20, 21, 22, 23, 25, 37, 42, 43, 53, 69, 77, 79, 87, 95, 101, 102, 103, 104, 109, 110, 111, 113, 115, 117, 119,
  123, 135, 137, 139, 143, 161, 179, 389, 427, 465, 512, 513, 514, 515, 526, 530, 531, 532, 540, 548, 554, 556, 563, 587, 601, 636, 989, 990,
  993, 995, 1719, 1720, 1723, 2049, 3659, 4045, 4190, 5060, 5061, 6000, 6566, 6665, 6666, 6667, 6668, 6669, 6679, 6697, 10080,
]);

/**
 * @param {string} typed
 * @param {string} [search]  an address with %s in the place of what is looked for; without one, nothing is
 * @returns {{url: string} | {outer: string} | {hint: string}} where to go, what another program shall open, or why not
 */
export function resolveAddress(typed, search = '') {
  const text = typed.trim();
  if (!text) return { hint: t('Type an address, for example example.org') };
  if (PASSED.test(text)) return checked(text);
  if (OUTER.test(text)) return { outer: text };
  if (text.startsWith('/')) return checked(`file://${text}`);
  if (search && text.startsWith('?')) return { url: searchAddress(search, text.slice(1)) };
  const isHost = LOOPBACK.test(text) || HOST_LIKE.test(text);
  if (search && (/\s/.test(text) || !isHost)) return { url: searchAddress(search, text) };
  if (/\s/.test(text)) return { hint: t('An address has no spaces. This field opens addresses; it does not search.') };

  const scheme = SCHEME.exec(text)?.[1];
  if (scheme) return { hint: t('Addresses that begin with “{scheme}:” cannot be opened here.', { scheme }) };
  // Local servers rarely have a certificate.
  return checked(`${LOOPBACK.test(text) ? 'http' : 'https'}://${text}`);
}

/** @returns {string} the address that looks for the text; empty where none is set */
export const searchAddress = (search, text) => (search ? search.replaceAll('%s', encodeURIComponent(text.trim())) : '');

function checked(text) {
  let url;
  try {
    url = new URL(text);
  } catch {
    return { hint: t('“{url}” is not a complete address.', { url: text }) };
  }
  const port = isBlockedPort(url);
  return port ? { hint: t('Port {port} is that of another service than the web. Pages are not loaded from it.', { port }) } : { url: url.href };
}

/** @returns {number} the port, if pages are not loaded from it; else 0 */
export function isBlockedPort(url) {
  const { protocol, port } = url instanceof URL ? url : new URL(url);
  return /^https?:$/.test(protocol) && BLOCKED_PORTS.has(Number(port)) ? Number(port) : 0;
}

/**
 * An address as it is shown: its host in letters that the user can read.
 * @param {string} url
 * @param {(host: string) => string} toReadable  leaves what could be taken for another host as it is
 */
export function readableAddress(url, toReadable) {
  return url.replace(ENCODED_HOST, (all, start, host) => start + toReadable(host));
}

/** A short name for a page that has no title (yet). */
export function labelFor(url) {
  if (!url || url === 'about:blank') return t('New tab');
  try {
    const { protocol, host, pathname } = new URL(url);
    if (protocol === 'data:') return t('Data page');
    return host || decodeURIComponent(pathname.split('/').filter(Boolean).pop() ?? url);
  } catch {
    return url;
  }
}

/** Whether the address is that of a page, which can be opened again. */
export const isPage = (url) => /^(https?|file|data|local):/i.test(url ?? '');

/**
 * Whether the chrome opens for a page what that page names: no more than the page may do itself. Those of
 * this machine lead to all pages, others, and what they wrote themselves, to sites.
 * @param {string} from  the address of the page
 */
export function mayLead(from, to) {
  return /^(file|local):/i.test(from) ? isPage(to) : /^https?:/i.test(to ?? '');
}

/** Who speaks, for a sentence. The host of an address cannot be made up by the page. */
export function placeOf(url) {
  try {
    const { protocol, host } = new URL(url);
    return host && /^https?:$/.test(protocol) ? host : t('This page');
  } catch {
    return t('This page');
  }
}

/**
 * What is said about the way a page came here.
 * @param {string} url
 * @param {string} secureType  as the host reports it
 * @returns {'secure'|'insecure'|'failed'|''} nothing about pages that never left this machine
 */
export function securityOf(url, secureType) {
  if (secureType === 'SecureFailed') return 'failed';
  if (secureType === 'SecureFull') return 'secure';
  try {
    const { protocol, host } = new URL(url);
    return protocol === 'http:' && !LOOPBACK.test(host) ? 'insecure' : '';
  } catch {
    return '';
  }
}
