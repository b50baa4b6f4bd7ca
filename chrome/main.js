/** The chrome: a toolbar and tabs around native web views. */

import { resolveAddress } from './address.js';
import { FunctionsPanel } from './functions-panel.js';
import { call, isHosted, listBindings, MISSING, on, WebView } from './pagehost.js';
import { Tabs } from './tabs.js';
import { hideToast, showToast } from './toast.js';

const START_PAGE = new URL('samples/start.html', document.baseURI).href;
/** A web view smaller than this helps nobody. */
const LEAST_SIDE = 48;

const $ = (id) => document.getElementById(id);

function start() {
  const tabs = new Tabs($('tab-strip'));
  const panel = new FunctionsPanel($('panel'), {
    currentHandle: () => tabs.active?.view?.handle ?? WebView.root.handle,
    onToggle: (open) => {
      $('functions').setAttribute('aria-expanded', open);
      if (!open) $('functions').focus();
      layOut(tabs);
    },
  });

  connectLayout(tabs);
  connectToolbar(tabs, panel);
  connectKeyboard(tabs);
  connectReports(tabs, panel);
  openFirstTabs(tabs);
  if (listBindings().includes('applicationWindow.setVisible')) call('applicationWindow.setVisible', true);
}

/** Puts the page's web view where the style sheet leaves room for it. */
function layOut(tabs) {
  const { left, top, right, bottom } = $('content').getBoundingClientRect();
  // Native views know whole pixels only; rounding both edges leaves no gap and no overlap.
  const [x, y] = [Math.round(left), Math.round(top)];
  const [width, height] = [Math.round(right) - x, Math.round(bottom) - y];
  tabs.place(width < LEAST_SIDE || height < LEAST_SIDE ? null : { x, y, width, height });
}

function connectLayout(tabs) {
  window.addEventListener('resize', () => layOut(tabs));
  // Hints, toasts and the panel change the room without a resize of the window.
  new ResizeObserver(() => layOut(tabs)).observe($('content'));
  layOut(tabs);
}

function connectToolbar(tabs, panel) {
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
  $('functions').addEventListener('click', () => panel.toggle());
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
  $('view-info').textContent = tab.view ? `view ${tab.view.handle}` : 'no view';
  $('ended').hidden = Boolean(tab.view);
  $('content').setAttribute('aria-label', tab.label);
}

function openNewTab(tabs) {
  tabs.open(START_PAGE);
  $('address').focus();
  $('address').select();
}

function connectKeyboard(tabs) {
  const keys = {
    'Ctrl+l': () => $('address').focus(),
    'Ctrl+t': () => openNewTab(tabs),
    'Ctrl+w': () => tabs.close(tabs.active),
    'Ctrl+r': () => tabs.active.reload(),
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

function openFirstTabs(tabs) {
  const args = JSON.parse(WebView.root.arguments() || '[]').slice(1);
  if (args.includes('--demo')) return runDemo(tabs);

  for (const arg of args.filter((each) => !each.startsWith('-'))) {
    const { url, hint } = resolveAddress(arg);
    if (url) tabs.open(url);
    else showToast(`${arg}: ${hint}`);
  }
  if (!tabs.list.length) tabs.open(START_PAGE);
  else tabs.activate(tabs.list[0]);
}

/** The run script waits for the line, then takes its picture. */
function runDemo(tabs) {
  const report = (type, print) => tabs.addEventListener(type, () => {
    layOut(tabs);
    print();
  }, { once: true });
  report('loaded', () => WebView.root.printToStdout('demo ready\n'));
  report('failed', () => WebView.root.printToStderr('demo: the sample page could not be loaded\n'));
  tabs.open(START_PAGE);
}

if (isHosted()) start();
else console.error(MISSING);
