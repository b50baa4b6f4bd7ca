import { TILES } from './config.js';
import { KeptPage } from './keep.js';
import { WebView } from 'pagehost:pagehost.js';

const grid = document.getElementById('tiles');
const template = /** @type {HTMLTemplateElement} */ (document.getElementById('tile'));
/** Each with its place. */
const pages = new Map();
const resized = new ResizeObserver(placeAll);

function addTile({ title, url }, view) {
  const tile = /** @type {HTMLElement} */ (document.importNode(template.content, true).firstElementChild);
  const place = tile.querySelector('.page');
  const notice = tile.querySelector('p');
  tile.querySelector('h2').textContent = title;
  grid.append(tile);
  const page = new KeptPage(url, {
    view,
    changed(problem) {
      tile.classList.toggle('ill', Boolean(problem));
      notice.textContent = problem && `${problem} It is tried again.`;
      document.documentElement.dataset.state = [...pages.keys()].every((each) => !each.problem) ? 'shown' : 'waiting';
    },
  });
  pages.set(page, place);
  resized.observe(place);
}

function placeAll() {
  for (const [page, place] of pages) page.place(place);
}

grid.style.setProperty('--columns', String(Math.ceil(Math.sqrt(TILES.length))));
// A chrome that was loaded again has its pages still; those that are too many go.
const there = WebView.list();
TILES.forEach((tile, i) => addTile(tile, there[i]));
for (const view of there.slice(TILES.length)) view.delete();
window.addEventListener('resize', placeAll);
