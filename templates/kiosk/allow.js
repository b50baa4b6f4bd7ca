/**
 * @param {string[]} hosts  "example.org", or "*.example.org" for everything below it
 * @param {string} home     its origin is allowed as well; of a file, its folder
 * @returns {(url: string) => boolean}
 */
export function makeAllowList(hosts, home) {
  const exact = new Set(hosts.filter((host) => !host.startsWith('*.')));
  const below = hosts.filter((host) => host.startsWith('*.')).map((host) => host.slice(1));
  const { protocol, host } = new URL(home);
  const folder = URL.canParse('.', home) ? new URL('.', home).href : home;
  // Addresses without a host have no origin that says anything.
  const isOurs = (url) => (host ? url.protocol === protocol && url.host === host : url.href.startsWith(folder));
  return (text) => {
    const url = URL.canParse(text) ? new URL(text) : null;
    if (!url) return false;
    if (isOurs(url) || text === 'about:blank') return true;
    return /^https?:$/.test(url.protocol)
      && (exact.has(url.hostname) || below.some((end) => url.hostname.endsWith(end)));
  };
}
