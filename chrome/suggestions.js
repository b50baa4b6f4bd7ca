/** What is offered while somebody types an address: bookmarks, open tabs and pages of before. */

const DAY = 86400000;
const MOST = 8;

/** @typedef {{kind: 'tab'|'bookmark'|'visited', url: string, title: string, tab?: object}} Suggestion */

/** An address as it is compared: nobody types how it begins. */
const bare = (url) => url.replace(/^([a-z]+:\/\/)?(www\.)?/i, '').toLowerCase();

/** @returns {number} how well the page fits; 0 if a word of the text is nowhere in it */
export function scoreOf(words, { url, title = '', at = 0, count = 1 }, now) {
  const address = bare(url);
  const name = title.toLowerCase();
  let score = 0;
  for (const word of words) {
    const before = name.indexOf(word);
    if (address.startsWith(word)) score += 40;
    else if (before === 0 || (before > 0 && !/[\p{L}\p{N}]/u.test(name[before - 1]))) score += 24;
    else if (before > 0 || address.includes(word)) score += 10;
    else return 0;
  }
  const age = Math.max(0, now - at) / DAY;
  return score + Math.min(20, 4 * Math.log2(1 + count)) + (at ? 16 / (1 + age) : 0);
}

/**
 * @param {string} typed
 * @param {{tabs?: object[], bookmarks?: object[], visited?: import('./visited.js').Visit[]}} sources
 * @returns {Suggestion[]} the best first; every address once
 */
export function suggestionsFor(typed, { tabs = [], bookmarks = [], visited = [] }, now = Date.now()) {
  const words = bare(typed.trim()).split(/\s+/).filter(Boolean);
  if (!words.length) return [];
  const known = new Map(visited.map((page) => [page.url, page]));
  const found = new Map();
  const offer = (kind, bonus, pages) => {
    for (const page of pages) {
      const score = scoreOf(words, { ...known.get(page.url), ...page }, now);
      if (score && !found.has(page.url)) found.set(page.url, { score: score + bonus, entry: { kind, url: page.url, title: page.title, ...(kind === 'tab' && { tab: page }) } });
    }
  };
  offer('tab', 6, tabs);
  offer('bookmark', 12, bookmarks);
  offer('visited', 0, visited);
  return [...found.values()].sort((a, b) => b.score - a.score).slice(0, MOST).map(({ entry }) => entry);
}
