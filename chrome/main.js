/** The chrome: a toolbar and tabs around native web views. */

import { AddressField } from './address-field.js';
import { resolveAddress, searchAddress, securityOf } from './address.js';
import { Bookmarks } from './bookmarks.js';
import { CertificateSheet, KnownCertificates } from './certificates.js';
import { Closing } from './closing.js';
import { keyText, makeCommands } from './commands.js';
import { ContextMenus } from './context-menus.js';
import { Cutouts } from './cutouts.js';
import { Dialogs } from './dialogs.js';
import { DownloadList } from './downloads.js';
import { EndedNotice } from './ended.js';
import { FindBar } from './findbar.js';
import { FieldList, shareProxyLogins } from './forms.js';
import { FullScreenHint, toggleWindowFullScreen } from './full-screen.js';
import { onLongPress } from './history-panel.js';
import { Infobar } from './infobar.js';
import { connectKeys, focusPage, followFocus } from './keyboard.js';
import { Links } from './links.js';
import { NotificationList, NotificationRows } from './notifications.js';
import { OuterPrograms } from './outer.js';
import { Printing, savePage, showSource } from './page-tools.js';
import { call, isHosted, listBindings, MISSING, on, WebView } from './pagehost.js';
import { makePanels } from './panels.js';
import { Permissions } from './permissions.js';
import { answerPlatform, invokedAddress, Platform } from './platform.js';
import { isPopupOpen, preparePopups } from './popups.js';
import { PopupBlocker } from './popup-blocker.js';
import { applyTheme, Preferences } from './preferences.js';
import { Previews } from './previews.js';
import { namesOf } from './processes.js';
import { Session } from './session.js';
import { Settings } from './settings.js';
import { Store } from './store.js';
import { StuckPages } from './stuck.js';
import { Tabs } from './tabs.js';
import { TakeOver } from './take-over.js';
import { hideToast, showToast } from './toast.js';
import { Visited } from './visited.js';
import { t, translateDocument } from './words.js';

const START_PAGE = new URL('samples/start.html', document.baseURI).href;
const DEMO_PAGE = new URL('samples/reader.html', document.baseURI).href;
/** A web view smaller than this helps nobody. */
const LEAST_SIDE = 48;

const $ = (id) => document.getElementById(id);

function start() {
  translateDocument();
  const tabs = new Tabs($('tab-strip'));
  const store = new Store(localStorage);
  const preferences = new Preferences(store);
  applyTheme(preferences);
  const cutouts = new Cutouts(tabs);
  preparePopups(cutouts, tabs);
  const platform = new Platform();
  const settings = new Settings(tabs, store);
  const startPage = () => startAddress(preferences);
  const isStart = ({ url }) => url === START_PAGE || url === startPage() || url === 'about:blank';
  // A window that another one has opened shares its store, and ends with it.
  const viewer = call('application.getenv', 'PAGEHOST_VIEWER_NAME');
  const session = new Session(tabs, store, { isStart: (url) => isStart({ url }), isKept: !viewer });
  const known = new KnownCertificates(tabs);
  const dialogs = new Dialogs($('dialog'), tabs);
  const certificates = new CertificateSheet($('certificate'), tabs, { known, home: START_PAGE });
  const findBar = new FindBar($('find-bar'), tabs);
  const permissions = new Permissions(tabs, store);
  const infobar = new Infobar($('infobar'), tabs, permissions);
  const outer = new OuterPrograms(tabs, platform, infobar);
  const downloads = new DownloadList(tabs, dialogs, { preferences, outer });
  const visited = new Visited(tabs, store);
  const bookmarks = new Bookmarks(store);
  new StuckPages(infobar, tabs);
  new PopupBlocker(tabs, infobar, permissions);
  new NotificationRows($('notifications'), new NotificationList(tabs));
  new EndedNotice($('ended'), tabs);
  new Previews(tabs, cutouts);
  new FieldList(tabs);
  new FullScreenHint(tabs, cutouts);
  shareProxyLogins(tabs);
  answerPlatform(platform, tabs);
  platform.addEventListener('onInvoked', ({ detail: [request] }) => openInvoked(tabs, request));
  const openWindow = (url = startPage()) => outer.openWindow(url);
  const links = new Links(tabs, openWindow);
  const printing = new Printing(tabs, { dialogs, preferences, downloads });
  const address = new AddressField($('toolbar'), tabs, {
    sources: () => ({ bookmarks: bookmarks.list, visited: visited.list }), preferences, openOuter: (url) => outer.openAddress(url),
  });
  const openNew = (process, isPrivate) => {
    tabs.open(startPage(), process, { isPrivate });
    address.focus();
  };
  const openPage = (url, isBehind) => (isBehind ? tabs.open(url, undefined, { isBehind, beside: tabs.active }) : (tabs.active.navigate(url), focusPage(tabs.active)));
  const closing = new Closing(tabs, {
    dialogs, session, isStart, asks: () => preferences.get('asksAtEnd'),
    runningIn: (tab) => downloads.running.filter((item) => !tab || item.tab === tab).length,
  });
  closing.guardWindow(platform);
  const { panels, addMenu } = makePanels({ tabs, store, platform, settings, preferences, known, permissions, downloads, visited, bookmarks, openPage, openNewTab: openNew });
  const commands = makeCommands({
    tabs, panels, findBar, closing, address, bookmarks, openNewTab: openNew, openWindow,
    restore: () => restoreSession(tabs, session), canRestore: () => session.lastTime.length > 0,
    printPage: (tab) => printing.print(tab), savePage, showSource: (tab) => showSource(tabs, tab),
    showFullScreen: () => toggleWindowFullScreen(platform),
    moveFocus: () => (document.hasFocus() && document.activeElement !== document.body ? focusPage(tabs.active) : address.focus()),
  });
  addMenu(commands);
  new ContextMenus(tabs, { commands, closing, links, search: (text) => searchAddress(preferences.get('search'), text) });

  refuseDrops();
  const layOutNow = connectLayout(tabs, dialogs, cutouts);
  connectToolbar(tabs, { bookmarks, commands });
  for (const id of ['back', 'forward']) onLongPress($(id), () => panels.history.open());
  onLongPress($('new-tab'), () => panels.newTab.open());
  followFocus(tabs, { isTyping: () => isPopupOpen() || $('tab-strip').contains(document.activeElement) && document.hasFocus() && document.activeElement.matches(':focus-visible') });
  connectKeys(tabs, platform, commands);
  connectReports(tabs, certificates, panels.functions, downloads, outer);
  $('find').addEventListener('click', () => findBar.open());
  platform.addEventListener('onExit', () => [visited, session].forEach((each) => each.write()));
  answerWindows(tabs);
  if (listBindings().includes('applicationWindow.setVisible')) call('applicationWindow.setVisible', true);
  const takeOver = new TakeOver(tabs, store, viewer);
  if (takeOver.run()) session.takeOver();
  else openFirstTabs(tabs, layOutNow, session, { preferences, address });
  takeOver.watch();
}

/** Where a new tab begins: what a person has set, or the program's own page. */
function startAddress(preferences) {
  const chosen = preferences.get('startPage');
  return (chosen && resolveAddress(chosen).url) || START_PAGE;
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
function connectLayout(tabs, dialogs, cutouts) {
  const update = () => {
    layOut(tabs, dialogs);
    cutouts.update();
  };
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

function connectToolbar(tabs, { bookmarks, commands }) {
  $('back').addEventListener('click', () => tabs.active.goBack());
  $('forward').addEventListener('click', () => tabs.active.goForward());
  $('reload').addEventListener('click', () => (tabs.active.loading ? tabs.active.stop() : tabs.active.reload()));
  $('new-tab').addEventListener('click', () => commands.newTab.run());
  $('bookmark').addEventListener('click', () => commands.bookmark.run());
  const showStar = () => {
    const isKept = bookmarks.has(tabs.active.url);
    $('bookmark').hidden = !commands.bookmark.isThere();
    $('bookmark').setAttribute('aria-pressed', isKept);
    const label = isKept ? t('Remove the bookmark') : commands.bookmark.label;
    $('bookmark').setAttribute('aria-label', label);
    $('bookmark').title = `${label} (${keyText(commands.bookmark)})`;
  };
  bookmarks.addEventListener('change', showStar);
  tabs.addEventListener('change', ({ detail: tab }) => {
    showPage(tabs, tab);
    showStar();
  });
}

function showPage(tabs, tab) {
  document.title = `${tab.label} · pagehost`;
  $('shell').classList.toggle('private', tab.isPrivate);
  $('back').disabled = !tab.canGoBack;
  $('forward').disabled = !tab.canGoForward;

  const [verb, key, icon] = tab.loading ? [t('Stop'), t('Esc'), 'close'] : [t('Reload'), keyText({ keys: ['Ctrl+r'] }), 'reload'];
  $('reload').setAttribute('aria-label', verb);
  $('reload').title = `${verb} (${key})`;
  $('reload').querySelector('use').setAttribute('href', `#i-${icon}`);

  $('progress').classList.toggle('running', tab.loading);
  $('progress').setAttribute('aria-valuenow', tab.progress);
  // An empty progress bar looks broken: start above zero.
  $('progress').style.setProperty('--done', Math.max(tab.progress, 6) / 100);

  $('status').textContent = tab.status || (tab.loading ? t('Loading… {percent} %', { percent: tab.progress }) : '');
  showSecurity(tab);
  showExceptions(tab);
  const { number } = tab.process;
  $('view-info').textContent = number ? t('process {number}', { number }) : '';
  $('view-info').title = tabs.processes.describe(tab);
  $('content').setAttribute('aria-label', tab.label);
}

function showSecurity(tab) {
  const security = securityOf(tab.url, tab.secureType);
  const icon = { secure: 'lock', '': 'info' }[security] ?? 'warning';
  $('security').className = security;
  $('security').title = tab.encryptionInfo || t('Page information');
  $('security').querySelector('use').setAttribute('href', `#i-${icon}`);
  $('security-text').textContent = { secure: t('Secure connection'), '': t('Page information') }[security] ?? t('Not secure');
}

function showExceptions({ exceptions }) {
  const [last] = exceptions.slice(-1);
  $('exceptions').hidden = !last;
  $('exceptions').textContent = exceptions.length === 1 ? t('1 script error') : t('{count} script errors', { count: exceptions.length });
  $('exceptions').title = last ? `${last.exception}\n${last.file}:${last.line}` : '';
}

function connectReports(tabs, certificates, panel, downloads, outer) {
  tabs.addEventListener('failed', ({ detail: tab }) => {
    // The sheet has more details about this.
    if (certificates.isAsking(tab)) return;
    const page = tab.requested || tab.label;
    // A process that a person has stopped, or that died, was no fault of the address.
    showToast(tab.requested ? t('“{page}” could not be loaded.', { page }) : t('“{page}” has ended. What was in it may be lost.', { page }),
      { label: t('Try again'), run: () => tab.reload() });
  });
  tabs.addEventListener('crashed', ({ detail: tab }) => {
    const ended = tabs.list.filter((each) => each.ended && each.process === tab.process);
    // The host shows the details in place of the page. If that is not visible, a line reports it: the
    // tabs end one by one, and the last one's line lists them all.
    if (ended.includes(tabs.active)) hideToast();
    else showToast(t('Process {number} ended unexpectedly, and with it {pages}.', { number: tab.process.number, pages: namesOf(ended) }));
  });
  // The root web view closes last, and the program ends with it.
  tabs.addEventListener('empty', () => WebView.root.delete());
  downloads.addEventListener('ended', ({ detail: item }) => {
    if (item.state === 'finished') showToast(t('“{file}” is downloaded.', { file: item.name }), { label: t('Open'), isOffer: true, passes: true, run: () => outer.openFile(item.path) });
    else if (item.result !== 'ResultCancelled') showToast(t('“{file}” could not be downloaded.', { file: item.name }));
  });
  // An open panel shows the errors of its own calls.
  on('errors', ({ text }) => panel.isOpen || isOfGoneView(text, tabs) || showToast(text));
}

/** A web view that dies is told of a moment later: what it was asked in between has nobody to blame. */
function isOfGoneView(error, tabs) {
  const handle = Number(/^WebView: (\d+) /.exec(error)?.[1]);
  const isThere = handle === WebView.root.handle || tabs.list.some(({ view }) => view?.handle === handle);
  return Boolean(handle) && !isThere;
}

/** The windows that this page is asked for. The first one takes the place of a start page that nobody has used. */
function answerWindows(tabs) {
  let isFirst = true;
  WebView.root.on('OpenWindow', ({ data }) => {
    const unused = tabs.list.filter(({ url }) => isFirst && url === START_PAGE);
    isFirst = false;
    if (!tabs.openAsked(data)) return { setAction: 'DISCARD' };
    unused.forEach((tab) => tabs.close(tab));
    return { setWait: true };
  });
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

function openFirstTabs(tabs, layOutNow, session, { preferences, address }) {
  const args = JSON.parse(WebView.root.arguments() || '[]').slice(1);
  if (args.includes('--demo')) return runDemo(tabs, layOutNow);

  for (const arg of args.filter((each) => !each.startsWith('-'))) openAddress(tabs, arg);
  const isEmpty = !tabs.list.length;
  if (isEmpty) tabs.open(startAddress(preferences));
  else tabs.activate(tabs.list[0]);
  // Who starts the program types an address first.
  if (isEmpty) address.focus();
  const { length } = session.lastTime;
  if (!length) return undefined;
  if (preferences.get('restores') && isEmpty) return restoreSession(tabs, session);
  return showToast(length === 1 ? t('A page was open when the program ended.') : t('{count} pages were open when the program ended.', { count: length }),
    { label: t('Restore'), isOffer: true, run: () => restoreSession(tabs, session) });
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
else {
  translateDocument();
  console.error(MISSING);
}
