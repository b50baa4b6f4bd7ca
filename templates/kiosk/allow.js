/**
 * @param {string[]} hosts  "example.org", or "*.example.org" for everything below it
 * @param {string} home     its origin is allowed as well
 * @returns {(url: string) => boolean}
 */
export function makeAllowList(hosts, home) {
  const exact = new Set(hosts.filter((host) => !host.startsWith('*.')));
  const below = hosts.filter((host) => host.startsWith('*.')).map((host) => host.slice(1));
  const originOf = ({ protocol, host }) => `${protocol}//${host}`;
  const ours = originOf(new URL(home));
  return (text) => {
    const url = URL.canParse(text) ? new URL(text) : null;
    if (!url) return false;
    if (originOf(url) === ours || text === 'about:blank') return true;
    return /^https?:$/.test(url.protocol)
      && (exact.has(url.hostname) || below.some((end) => url.hostname.endsWith(end)));
  };
}
