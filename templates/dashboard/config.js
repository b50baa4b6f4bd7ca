const own = (name) => new URL(`pages/${name}`, document.baseURI).href;

/** The tiles, in rows from left to right. */
export const TILES = [
  { title: 'Clock', url: own('clock.html') },
  { title: 'Orders', url: own('chart.html?from=40') },
  { title: 'Visitors', url: own('chart.html?from=120') },
  { title: 'Board', url: own('board.html') },
];
