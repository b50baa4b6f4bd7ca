import { makeAllowList } from './allow.js';
import { ALLOWED, HOME, IDLE } from './config.js';
import { KeptPage } from './keep.js';
import { WebView } from 'pagehost:pagehost.js';

const HINT_TIME = 4000;
/** @returns {any} */
const $ = (id) => document.getElementById(id);
const isAllowed = makeAllowList(ALLOWED, HOME);
let page;
let idleTimer;
let hintTimer;

function hint(text) {
  $('hint').textContent = text;
  clearTimeout(hintTimer);
  hintTimer = setTimeout(() => { $('hint').textContent = ''; }, HINT_TIME);
}

/** A page of its own for each visitor, private: what they leave behind goes with it. */
function begin() {
  page?.delete();
  page = new KeptPage(HOME, { changed: show });
  const { view } = page;
  view.setPrivateBrowsing(true);
  guard(view);
  for (const event of /** @type {const} */ (['MouseEvent', 'KeyEvent', 'TouchEvent'])) view.on(event, () => touched());
  view.onProperty('CanGoBack', (can) => { $('back').disabled = !can; });
  $('back').disabled = true;
  page.place($('page'));
  touched();
}

function guard(view) {
  const refuse = (url) => {
    if (isAllowed(url)) return false;
    hint(`${URL.canParse(url) ? new URL(url).host : url} is not part of this kiosk.`);
    return true;
  };
  view.on('LocationChanging', ({ data }) => ({ setPreventDefault: refuse(data.url) }));
  // However it got there.
  view.onProperty('Location', (url) => { if (url && refuse(url)) page.open(HOME); });
  // What asks for a window gets this one.
  view.on('OpenWindow', ({ data }) => {
    if (data.url && !refuse(data.url)) view.loadURL(data.url);
    return { setAction: 'DISCARD' };
  });
  view.on('DownloadRequest', () => ({ setAction: 'ActionDiscard' }));
  view.on('ContextMenuRequestEvent', () => ({ setPreventDefault: true }));
  view.on('GeolocationPermissionRequest', () => ({ setPreventDefault: true }));
}

function show(problem) {
  $('notice').textContent = problem && `This page is not there just now. ${problem}`;
  document.documentElement.dataset.state = problem ? 'waiting' : 'shown';
}

function touched() {
  clearTimeout(idleTimer);
  if (IDLE) idleTimer = setTimeout(begin, 1000 * IDLE);
}

for (const event of ['pointerdown', 'keydown']) window.addEventListener(event, touched);
window.addEventListener('contextmenu', (event) => event.preventDefault());
$('back').addEventListener('click', () => page.view.goBack());
$('home').addEventListener('click', begin);
new ResizeObserver(() => page?.place($('page'))).observe($('page'));
// Those of this chrome before it was loaded again.
for (const view of WebView.list()) view.delete();
begin();
