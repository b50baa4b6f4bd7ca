/** The chrome: a toolbar and tabs around native web views. */

import { readableAddress, resolveAddress, securityOf } from './address.js';
import { CertificateSheet, KnownCertificates } from './certificates.js';
import { Dialogs } from './dialogs.js';
import { EndedNotice } from './ended.js';
import { FindBar } from './findbar.js';
import { FieldList, shareProxyLogins } from './forms.js';
import { onLongPress } from './history-panel.js';
import { Infobar } from './infobar.js';
import { call, isHosted, listBindings, MISSING, on, WebView } from './pagehost.js';
import { NotificationList, NotificationRows } from './notifications.js';
import { makePanels } from './panels.js';
import { Permissions } from './permissions.js';
import { answerPlatform, invokedAddress, Platform } from './platform.js';
import { Previews } from './previews.js';
import { namesOf } from './processes.js';
import { Session } from './session.js';
import { Settings } from './settings.js';
import { Store } from './store.js';
import { StuckPages } from './stuck.js';
import { Tabs } from './tabs.js';
import { hideToast, showToast } from './toast.js';
import { focus, keyOf, nameOf } from './keyboard.js';
import { zoomBy, zoomTo } from './zoom.js';

const START_PAGE = new URL('samples/start.html', document.baseURI).href;
const DEMO_PAGE = new URL('samples/reader.html', document.baseURI).href;
/** A web view smaller than this helps nobody. */
const LEAST_SIDE = 48;

/** The keys that lead from one tab to another. */
const MOVES = new Set(['Ctrl+Tab', 'Ctrl+Shift+Tab', 'Ctrl+w']);

const $ = (id) => document.getElementById(id);

function start() {
  const tabs = new Tabs($('tab-strip'));
  const store = new Store(localStorage);
  const settings = new Settings(tabs, store);
  const session = new Session(tabs, store, { isStart: (url) => url === START_PAGE });
  const known = new KnownCertificates(tabs);
  const dialogs = new Dialogs($('dialog'), tabs);
  const certificates = new CertificateSheet($('certificate'), tabs, { known, home: START_PAGE });
  const findBar = new FindBar($('find-bar'), tabs);
  const permissions = new Permissions(tabs, store);
  new StuckPages(new Infobar($('infobar'), tabs, permissions), tabs);
  new NotificationRows($('notifications'), new NotificationList(tabs));
  new EndedNotice($('ended'), tabs);
  new Previews(tabs);
  new FieldList(tabs);
  shareProxyLogins(tabs);
  const platform = new Platform();
  answerPlatform(platform, tabs);
  platform.addEventListener('onInvoked', ({ detail: [request] }) => openInvoked(tabs, request));
  const panels = makePanels({
    tabs, store, platform, settings, known, permissions, dialogs,
    find: () => findBar.open(),
    openNewTab: (process, isPrivate) => openNewTab(tabs, process, isPrivate),
    restore: () => restoreSession(tabs, session),
    canRestore: () => session.lastTime.length > 0,
  });

  refuseDrops();
  const layOutNow = connectLayout(tabs, dialogs);
  connectToolbar(tabs);
  for (const id of ['back', 'forward']) onLongPress($(id), () => panels.history.open());
  onLongPress($('new-tab'), () => panels.newTab.open());
  connectKeyboard(tabs, findBar, panels);
  connectReports(tabs, certificates, panels.functions);
  $('find').addEventListener('click', () => findBar.open());
  openFirstTabs(tabs, layOutNow, session);
  if (listBindings().includes('applicationWindow.setVisible')) call('applicationWindow.setVisible', true);
}

/** Whether the page shall lie over the chrome, too. What it asks would be covered: then it steps back. */
const coversAll = (tabs, dialogs) => Boolean(tabs.active?.fullScreen && !dialogs.isAsking(tabs.active));

/** What is dropped beside a field would take the chrome's place, or be refused by the host: nothing shall happen. */
function refuseDrops() {
  for (const type of ['dragenter', 'dragover', 'drop']) {
    window.addEventListener(type, (event) => {
      if (event.target.closest?.('input, textarea')) return;
      event.preventDefault();
      event.dataTransfer.dropEffect = 'none';
    });
  }
}

/** Puts the page's web view where the style sheet leaves room for it. */
function layOut(tabs, dialogs) {
  if (coversAll(tabs, dialogs)) return tabs.place({ x: 0, y: 0, width: window.innerWidth, height: window.innerHeight });
  const { left, top, right, bottom } = $('content').getBoundingClientRect();
  // Native views have integer coordinates; rounding both edges avoids gaps and overlaps.
  const [x, y] = [Math.round(left), Math.round(top)];
  const [width, height] = [Math.round(right) - x, Math.round(bottom) - y];
  return tabs.place(width < LEAST_SIDE || height < LEAST_SIDE ? null : { x, y, width, height });
}

/** @returns {() => void} does it now */
function connectLayout(tabs, dialogs) {
  const update = () => layOut(tabs, dialogs);
  window.addEventListener('resize', update);
  // Hints, toasts, dialogs and panels change the layout without a resize of the window.
  new ResizeObserver(update).observe($('content'));
  let covered = false;
  tabs.addEventListener('change', () => {
    if (covered === coversAll(tabs, dialogs)) return;
    covered = !covered;
    update();
  });
  update();
  return update;
}

function connectToolbar(tabs) {
  const address = $('address');
  const setHint = (text = '') => {
    $('hint').textContent = text;
    address.toggleAttribute('aria-invalid', Boolean(text));
  };
  const showLocation = () => {
    address.value = readableAddress(tabs.active?.url ?? '',
      (host) => call('webview.convertIDNtoReadableStringByLanguage', 1, host) || host);
    setHint();
  };

  $('toolbar').addEventListener('submit', (event) => {
    event.preventDefault();
    const { url, hint } = resolveAddress(address.value);
    setHint(hint);
    if (!url) return;
    hideToast();
    tabs.active.navigate(url);
    address.blur();
  });
  // On a touch screen a second tap must be able to place the caret.
  address.addEventListener('focus', () => address.select());
  address.addEventListener('input', () => setHint());
  address.addEventListener('blur', () => $('hint').textContent || showLocation());
  address.addEventListener('keydown', (event) => {
    if (event.key !== 'Escape') return;
    showLocation();
    address.select();
  });

  $('back').addEventListener('click', () => tabs.active.goBack());
  $('forward').addEventListener('click', () => tabs.active.goForward());
  $('reload').addEventListener('click', () => (tabs.active.loading ? tabs.active.stop() : tabs.active.reload()));
  $('new-tab').addEventListener('click', () => openNewTab(tabs));

  let shown;
  tabs.addEventListener('change', ({ detail: tab }) => {
    // When the focus goes to the page, document.activeElement is still this field, but nobody types in
    // it.
    const isTyping = document.activeElement === address && document.hasFocus();
    if (tab !== shown || !isTyping) showLocation();
    shown = tab;
    showPage(tabs, tab);
  });
}

function showPage(tabs, tab) {
  document.title = `${tab.label} · pagehost`;
  $('shell').classList.toggle('private', tab.isPrivate);
  $('back').disabled = !tab.canGoBack;
  $('forward').disabled = !tab.canGoForward;

  const [verb, key, icon] = tab.loading ? ['Stop', 'Esc', 'close'] : ['Reload', 'Ctrl+R', 'reload'];
  $('reload').setAttribute('aria-label', verb);
  $('reload').title = `${verb} (${key})`;
  $('reload').querySelector('use').setAttribute('href', `#i-${icon}`);

  $('progress').classList.toggle('running', tab.loading);
  $('progress').setAttribute('aria-valuenow', tab.progress);
  // An empty progress bar looks broken: start above zero.
  $('progress').style.setProperty('--done', Math.max(tab.progress, 6) / 100);

  $('status').textContent = tab.status || (tab.loading ? `Loading… ${tab.progress} %` : '');
  showSecurity(tab);
  showExceptions(tab);
  const { number } = tab.process;
  $('view-info').textContent = tab.view ? `view ${tab.view.handle}${number ? ` · process ${number}` : ''}` : 'no view';
  $('view-info').title = tabs.processes.describe(tab);
  $('content').setAttribute('aria-label', tab.label);
}

function showSecurity(tab) {
  const security = securityOf(tab.url, tab.secureType);
  const icon = { secure: 'lock', '': 'info' }[security] ?? 'warning';
  $('security').className = security;
  $('security').title = tab.encryptionInfo || 'Page information';
  $('security').querySelector('use').setAttribute('href', `#i-${icon}`);
  $('security-text').textContent = { secure: 'Secure connection', '': 'Page information' }[security] ?? 'Not secure';
}

function showExceptions({ exceptions }) {
  const [last] = exceptions.slice(-1);
  $('exceptions').hidden = !last;
  $('exceptions').textContent = exceptions.length === 1 ? '1 script error' : `${exceptions.length} script errors`;
  $('exceptions').title = last ? `${last.exception}\n${last.file}:${last.line}` : '';
}

function openNewTab(tabs, process, isPrivate) {
  tabs.open(START_PAGE, process, { isPrivate });
  focus($('address'));
  $('address').select();
}

function connectKeyboard(tabs, findBar, panels) {
  // If this page has the keyboard focus, pass it to the next one, before that is shown: users may type
  // at once.
  let follows = false;
  tabs.addEventListener('chosen', ({ detail: tab }) => follows && tab.ready && tab.view.setActive(true));
  const keys = {
    'Ctrl+l': () => focus($('address')),
    'Ctrl+t': () => openNewTab(tabs),
    'Ctrl+Shift+n': () => openNewTab(tabs, undefined, true),
    'Ctrl+w': () => tabs.close(tabs.active),
    'Ctrl+r': () => tabs.active.reload(),
    'Ctrl+f': () => findBar.open(),
    'Ctrl+h': () => panels.history.toggle(),
    'Ctrl+,': () => panels.settings.toggle(),
    'Ctrl+Shift+Delete': () => panels.siteData.toggle(),
    'Alt+t': () => panels.newTab.toggle(),
    'Alt+m': () => panels.menu.toggle(),
    'Ctrl++': () => zoomBy(tabs, 1),
    'Ctrl+Shift++': () => zoomBy(tabs, 1),
    'Ctrl+=': () => zoomBy(tabs, 1),
    'Ctrl+-': () => zoomBy(tabs, -1),
    'Ctrl+0': () => zoomTo(tabs, 1),
    F5: () => tabs.active.reload(),
    'Alt+ArrowLeft': () => tabs.active.goBack(),
    'Alt+ArrowRight': () => tabs.active.goForward(),
    'Ctrl+Tab': () => tabs.step(1),
    'Ctrl+Shift+Tab': () => tabs.step(-1),
    Escape: () => tabs.active.loading && tabs.active.stop(),
  };
  document.addEventListener('keydown', (event) => {
    const action = keys[nameOf(event)];
    if (!action) return;
    event.preventDefault();
    action();
  });
  tabs.addEventListener('attached', ({ detail: tab }) => tab.view.on('UnhandledKeyInput', ({ data }) => {
    if (!data.keyDown || tab !== tabs.active) return;
    const name = nameOf(keyOf(data));
    follows = MOVES.has(name);
    try {
      keys[name]?.();
    } finally {
      follows = false;
    }
  }));
}

function connectReports(tabs, certificates, panel) {
  tabs.addEventListener('failed', ({ detail: tab }) => {
    // The sheet has more details about this.
    if (certificates.isAsking(tab)) return;
    showToast(`“${tab.requested || tab.label}” could not be loaded.`, { label: 'Try again', run: () => tab.reload() });
  });
  tabs.addEventListener('crashed', ({ detail: tab }) => {
    const ended = tabs.list.filter((each) => each.ended && each.process === tab.process);
    // The host shows the details in place of the page. If that is not visible, a line reports it: the
    // tabs end one by one, and the last one's line lists them all.
    if (ended.includes(tabs.active)) hideToast();
    else showToast(`Process ${tab.process.number} ended unexpectedly, and with it ${namesOf(ended)}.`);
  });
  // The root web view closes last, and the program ends with it.
  tabs.addEventListener('empty', () => WebView.root.delete());
  // An open panel shows the errors of its own calls.
  on('errors', ({ text }) => panel.isOpen || isOfGoneView(text, tabs) || showToast(text));
}

/** A web view that dies is told of a moment later: what it was asked in between has nobody to blame. */
function isOfGoneView(error, tabs) {
  const handle = Number(/^WebView: (\d+) /.exec(error)?.[1]);
  const isThere = handle === WebView.root.handle || tabs.list.some(({ view }) => view?.handle === handle);
  return Boolean(handle) && !isThere;
}

/** In the place of what stands for nothing yet. */
function restoreSession(tabs, session) {
  const empty = tabs.list.filter(({ url }) => url === START_PAGE);
  const first = tabs.list.length;
  session.restore();
  if (!tabs.list[first]) return;
  tabs.activate(tabs.list[first]);
  empty.forEach((tab) => tabs.close(tab));
}

/** As people type it. */
function openAddress(tabs, text) {
  const { url, hint } = resolveAddress(text);
  if (url) tabs.open(url);
  else showToast(`${text}: ${hint}`);
}

/** What another start, the desktop or another application wants to be opened; also nothing but the window. */
function openInvoked(tabs, request) {
  const uri = invokedAddress(request);
  if (uri) openAddress(tabs, uri);
}

function openFirstTabs(tabs, layOutNow, session) {
  const args = JSON.parse(WebView.root.arguments() || '[]').slice(1);
  if (args.includes('--demo')) return runDemo(tabs, layOutNow);

  for (const arg of args.filter((each) => !each.startsWith('-'))) openAddress(tabs, arg);
  if (!tabs.list.length) tabs.open(START_PAGE);
  else tabs.activate(tabs.list[0]);
  const { length } = session.lastTime;
  if (length) {
    showToast(length === 1 ? 'A page was open when the program ended.' : `${length} pages were open when the program ended.`,
      { label: 'Restore', isOffer: true, run: () => restoreSession(tabs, session) });
  }
}

/**
 * A page in this process and one in a process of its own. The run script waits for the line, then
 * takes its picture.
 */
function runDemo(tabs, layOutNow) {
  const report = (type, next) => tabs.addEventListener(type, () => {
    layOutNow();
    next();
  }, { once: true });
  report('failed', () => WebView.root.printToStderr('demo: the sample page could not be loaded\n'));
  report('loaded', () => {
    report('loaded', () => WebView.root.printToStdout('demo ready\n'));
    tabs.open(DEMO_PAGE, tabs.processes.fresh());
  });
  tabs.open(START_PAGE);
}

if (isHosted()) start();
else console.error(MISSING);
