/** What people type into the address field, and what is shown of an address. */

const PASSED = /^(https?|local|file|data|about|blob):/i;
const LOOPBACK = /^(localhost|127(\.\d+){3}|\[::1\])(?=[:/?#]|$)/i;
const ENCODED_HOST = /^([a-z][a-z0-9+.-]*:\/\/(?:[^/?#]*@)?)([^/?#:@]*xn--[^/?#:@]*)(?=(?::\d*)?(?:[/?#]|$))/i;
const SCHEME = /^([a-z][a-z0-9+.-]*):(?!\d+(?:[/?#]|$))/i;

/**
 * @param {string} typed
 * @returns {{url: string} | {hint: string}} where to go, or why not
 */
export function resolveAddress(typed) {
  const text = typed.trim();
  if (!text) return { hint: 'Type an address, for example example.org' };
  if (PASSED.test(text)) return checked(text);
  if (text.startsWith('/')) return checked(`file://${text}`);
  if (/\s/.test(text)) return { hint: 'An address has no spaces. This field opens addresses; it does not search.' };

  const scheme = SCHEME.exec(text)?.[1];
  if (scheme) return { hint: `Addresses that begin with “${scheme}:” cannot be opened here.` };
  // Local servers rarely have a certificate.
  return checked(`${LOOPBACK.test(text) ? 'http' : 'https'}://${text}`);
}

function checked(url) {
  try {
    return { url: new URL(url).href };
  } catch {
    return { hint: `“${url}” is not a complete address.` };
  }
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
  if (!url || url === 'about:blank') return 'New tab';
  try {
    const { protocol, host, pathname } = new URL(url);
    if (protocol === 'data:') return 'Data page';
    return host || decodeURIComponent(pathname.split('/').filter(Boolean).pop() ?? url);
  } catch {
    return url;
  }
}

/** Who speaks, for a sentence. The host of an address cannot be made up by the page. */
export function placeOf(url) {
  try {
    const { protocol, host } = new URL(url);
    return host && /^https?:$/.test(protocol) ? host : 'This page';
  } catch {
    return 'This page';
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
