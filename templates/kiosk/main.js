import { makeAllowList } from './allow.js';
import { ALLOWED, HOME, IDLE } from './config.js';
import { KeptPage } from './keep.js';
import { WebView } from 'pagehost:pagehost.js';

const HINT_TIME = 4000;
/** @returns {any} */
const $ = (id) => document.getElementById(id);
const isAllowed = makeAllowList(ALLOWED, HOME);
let page;
let hintTimer;
/** When somebody was there. */
let lastTouch = 0;

function hint(text) {
  $('hint').textContent = text;
  clearTimeout(hintTimer);
  hintTimer = setTimeout(() => { $('hint').textContent = ''; }, HINT_TIME);
}

/** A page of its own for each visitor, private: what they leave behind goes with it. */
function begin() {
  page?.delete();
  $('question').hidden = true;
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
    hint(`${(URL.canParse(url) && new URL(url).host) || url} is not part of this kiosk.`);
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
  view.on('UnknownProtocol', ({ data }) => {
    hint(`${data.url} is not part of this kiosk.`);
    return { setPreventDefault: true };
  });
  view.on('DialogRequested', ({ data }) => {
    // Nobody is there who knows what they would lose.
    if (data.dialogType === 'BeforeUnloadConfirm') return undefined;
    // Prints, and log-ins.
    if (!data.dialogType.startsWith('JavaScript')) return { setPreventDefault: true };
    setTimeout(() => ask(view, data));
    return { setWait: true };
  });
  view.on('DownloadRequest', () => ({ setAction: 'ActionDiscard' }));
  view.on('ContextMenuRequestEvent', () => ({ setPreventDefault: true }));
  view.on('GeolocationPermissionRequest', () => ({ setPreventDefault: true }));
}

/** What a page asks stands in its place. */
function ask(view, { dialogType, message, result, waitHandle }) {
  if (view !== page.view) return;
  const answer = (accepted) => {
    $('question').hidden = true;
    view.setVisible(!page.problem);
    view.dialogResponse(waitHandle, accepted, $('text').value, '', '');
  };
  view.setVisible(false);
  $('message').textContent = message;
  $('text').hidden = dialogType !== 'JavaScriptPrompt';
  $('text').value = result ?? '';
  $('cancel').hidden = dialogType === 'JavaScriptAlert';
  $('cancel').onclick = () => answer(false);
  $('question').onsubmit = (event) => {
    event.preventDefault();
    answer(true);
  };
  $('question').hidden = false;
}

function show(problem) {
  $('notice').textContent = problem && `This page is not there just now. ${problem}`;
  document.documentElement.dataset.state = problem ? 'waiting' : 'shown';
}

/** At every step of the pointer: no more than a look at the clock. */
function touched() {
  lastTouch = performance.now();
}

if (IDLE) setInterval(() => performance.now() - lastTouch >= 1000 * IDLE && begin(), 1000);

for (const event of ['pointerdown', 'keydown']) window.addEventListener(event, touched);
window.addEventListener('contextmenu', (event) => event.preventDefault());
$('back').addEventListener('click', () => page.view.goBack());
$('home').addEventListener('click', begin);
new ResizeObserver(() => page?.place($('page'))).observe($('page'));
// Those of this chrome before it was loaded again.
for (const view of WebView.list()) view.delete();
begin();
