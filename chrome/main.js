/** The chrome: a toolbar and tabs around native web views. */

import { resolveAddress, securityOf } from './address.js';
import { Dialogs } from './dialogs.js';
import { DownloadList, DownloadsPanel } from './downloads.js';
import { FindBar } from './findbar.js';
import { FunctionsPanel } from './functions-panel.js';
import { Infobar } from './infobar.js';
import { call, isHosted, listBindings, MISSING, on, WebView } from './pagehost.js';
import { Tabs } from './tabs.js';
import { hideToast, showToast } from './toast.js';
import { focus } from './keyboard.js';

const START_PAGE = new URL('samples/start.html', document.baseURI).href;
/** A web view smaller than this helps nobody. */
const LEAST_SIDE = 48;

const $ = (id) => document.getElementById(id);

function start() {
  const tabs = new Tabs($('tab-strip'));
  const panels = connectPanels(tabs);
  const dialogs = new Dialogs($('dialog'), tabs);
  const findBar = new FindBar($('find-bar'), tabs);
  new Infobar($('infobar'), tabs);

  const layOutNow = connectLayout(tabs, dialogs);
  connectToolbar(tabs);
  connectKeyboard(tabs, findBar);
  connectReports(tabs, panels.functions);
  $('find').addEventListener('click', () => findBar.open());
  openFirstTabs(tabs, layOutNow);
  if (listBindings().includes('applicationWindow.setVisible')) call('applicationWindow.setVisible', true);
}

/** The panels share one place: opening one closes the other. */
function connectPanels(tabs) {
  const onToggle = (name) => (open) => {
    $(name).setAttribute('aria-expanded', open);
    if (!open) return focus($(name));
    for (const [other, panel] of Object.entries(panels)) if (other !== name && panel.isOpen) panel.toggle();
    return undefined;
  };
  const panels = {
    functions: new FunctionsPanel($('panel'), {
      currentHandle: () => tabs.active?.view?.handle ?? WebView.root.handle,
      onToggle: onToggle('functions'),
    }),
    downloads: new DownloadsPanel($('downloads-panel'), $('downloads'), {
      list: new DownloadList(tabs),
      onToggle: onToggle('downloads'),
    }),
  };
  for (const [name, panel] of Object.entries(panels)) $(name).addEventListener('click', () => panel.toggle());
  return panels;
}

/** Whether the page shall lie over the chrome, too. What it asks would be covered: then it steps back. */
const coversAll = (tabs, dialogs) => Boolean(tabs.active?.fullScreen && !dialogs.isAsking(tabs.active));

/** Puts the page's web view where the style sheet leaves room for it. */
function layOut(tabs, dialogs) {
  if (coversAll(tabs, dialogs)) return tabs.place({ x: 0, y: 0, width: window.innerWidth, height: window.innerHeight });
  const { left, top, right, bottom } = $('content').getBoundingClientRect();
  // Native views know whole pixels only; rounding both edges leaves no gap and no overlap.
  const [x, y] = [Math.round(left), Math.round(top)];
  const [width, height] = [Math.round(right) - x, Math.round(bottom) - y];
  return tabs.place(width < LEAST_SIDE || height < LEAST_SIDE ? null : { x, y, width, height });
}

/** @returns {() => void} does it now */
function connectLayout(tabs, dialogs) {
  const update = () => layOut(tabs, dialogs);
  window.addEventListener('resize', update);
  // Hints, toasts, dialogs and panels change the room without a resize of the window.
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
    address.value = tabs.active?.url ?? '';
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
  $('revive').addEventListener('click', () => tabs.active.reload());
  $('new-tab').addEventListener('click', () => openNewTab(tabs));

  let shown;
  tabs.addEventListener('change', ({ detail: tab }) => {
    if (tab !== shown || document.activeElement !== address) showLocation();
    shown = tab;
    showPage(tab);
  });
}

function showPage(tab) {
  document.title = `${tab.label} · pagehost`;
  $('back').disabled = !tab.canGoBack;
  $('forward').disabled = !tab.canGoForward;

  const [verb, key, icon] = tab.loading ? ['Stop', 'Esc', 'close'] : ['Reload', 'Ctrl+R', 'reload'];
  $('reload').setAttribute('aria-label', verb);
  $('reload').title = `${verb} (${key})`;
  $('reload').querySelector('use').setAttribute('href', `#i-${icon}`);

  $('progress').classList.toggle('running', tab.loading);
  $('progress').setAttribute('aria-valuenow', tab.progress);
  // A bar at nothing looks broken: it starts with a little.
  $('progress').style.setProperty('--done', Math.max(tab.progress, 6) / 100);

  $('status').textContent = tab.status || (tab.loading ? `Loading… ${tab.progress} %` : '');
  showSecurity(tab);
  showExceptions(tab);
  $('view-info').textContent = tab.view ? `view ${tab.view.handle}` : 'no view';
  $('ended').hidden = Boolean(tab.view);
  $('content').setAttribute('aria-label', tab.label);
}

function showSecurity(tab) {
  const security = securityOf(tab.url, tab.secureType);
  $('security').hidden = !security;
  $('security').className = security;
  $('security').title = tab.encryptionInfo;
  $('security').querySelector('use').setAttribute('href', security === 'secure' ? '#i-lock' : '#i-warning');
  $('security-text').textContent = { secure: 'Secure connection', insecure: 'Not secure', failed: 'Not secure' }[security] ?? '';
}

function showExceptions({ exceptions }) {
  const [last] = exceptions.slice(-1);
  $('exceptions').hidden = !last;
  $('exceptions').textContent = exceptions.length === 1 ? '1 script error' : `${exceptions.length} script errors`;
  $('exceptions').title = last ? `${last.exception}\n${last.file}:${last.line}` : '';
}

function openNewTab(tabs) {
  tabs.open(START_PAGE);
  focus($('address'));
  $('address').select();
}

function connectKeyboard(tabs, findBar) {
  const keys = {
    'Ctrl+l': () => focus($('address')),
    'Ctrl+t': () => openNewTab(tabs),
    'Ctrl+w': () => tabs.close(tabs.active),
    'Ctrl+r': () => tabs.active.reload(),
    'Ctrl+f': () => findBar.open(),
    F5: () => tabs.active.reload(),
    'Alt+ArrowLeft': () => tabs.active.goBack(),
    'Alt+ArrowRight': () => tabs.active.goForward(),
    'Ctrl+Tab': () => tabs.step(1),
    'Ctrl+Shift+Tab': () => tabs.step(-1),
    Escape: () => tabs.active.loading && tabs.active.stop(),
  };
  document.addEventListener('keydown', (event) => {
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    const held = [event.ctrlKey && 'Ctrl', event.altKey && 'Alt', event.shiftKey && 'Shift'].filter(Boolean);
    const action = keys[[...held, key].join('+')];
    if (!action) return;
    event.preventDefault();
    action();
  });
}

function connectReports(tabs, panel) {
  tabs.addEventListener('failed', ({ detail: tab }) => {
    showToast(`“${tab.requested || tab.label}” could not be loaded.`, { label: 'Try again', run: () => tab.reload() });
  });
  tabs.addEventListener('crashed', ({ detail: tab }) => {
    if (tab !== tabs.active) showToast(`The process of “${tab.label}” ended unexpectedly.`);
  });
  // The root web view ends last, and with it the program.
  tabs.addEventListener('empty', () => WebView.root.delete());
  // The open panel shows the errors of its own calls at the call.
  on('errors', ({ text }) => panel.isOpen || showToast(text));
}

function openFirstTabs(tabs, layOutNow) {
  const args = JSON.parse(WebView.root.arguments() || '[]').slice(1);
  if (args.includes('--demo')) return runDemo(tabs, layOutNow);

  for (const arg of args.filter((each) => !each.startsWith('-'))) {
    const { url, hint } = resolveAddress(arg);
    if (url) tabs.open(url);
    else showToast(`${arg}: ${hint}`);
  }
  if (!tabs.list.length) tabs.open(START_PAGE);
  else tabs.activate(tabs.list[0]);
}

/** The run script waits for the line, then takes its picture. */
function runDemo(tabs, layOutNow) {
  const report = (type, print) => tabs.addEventListener(type, () => {
    layOutNow();
    print();
  }, { once: true });
  report('loaded', () => WebView.root.printToStdout('demo ready\n'));
  report('failed', () => WebView.root.printToStderr('demo: the sample page could not be loaded\n'));
  tabs.open(START_PAGE);
}

if (isHosted()) start();
else console.error(MISSING);
