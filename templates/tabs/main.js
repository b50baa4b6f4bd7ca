import { Tab } from './tab.js';
import { WebView } from 'pagehost:pagehost.js';

const START = new URL('pages/start.html', document.baseURI).href;
/** @returns {any} */
const $ = (id) => document.getElementById(id);
/** @type {Tab[]} */
const tabs = [];
let active;
/** Whose page is seen: none while there is a problem. */
let seen = null;
/** What each has in the strip. */
const buttons = new Map();

const owner = {
  changed: draw,
  opened: (view) => add(view),
  closed: close,
};

function add(view, url) {
  const tab = new Tab(owner, view);
  tabs.push(tab);
  view.setVisible(false);
  addButtons(tab);
  if (url) tab.go(url);
  show(tab);
}

function close(tab) {
  if (!tabs.includes(tab)) return;
  tabs.splice(tabs.indexOf(tab), 1);
  for (const each of Object.values(buttons.get(tab))) each.remove();
  buttons.delete(tab);
  if (seen === tab) seen = null;
  tab.view.delete();
  if (!tabs.length) add(WebView.create(), START);
  else if (tab === active) show(tabs.at(-1));
  else draw();
}

function show(tab) {
  active = tab;
  draw();
  place();
}

function place() {
  const { left, top, width, height } = $('page').getBoundingClientRect();
  for (const { view } of tabs) view.setGeometry(Math.round(left), Math.round(top), Math.max(1, Math.round(width)), Math.max(1, Math.round(height)));
}

function draw() {
  if (!active) return;
  const wanted = active.problem ? null : active;
  if (wanted !== seen) {
    wanted?.view.setVisible(true);
    seen?.view.setVisible(false);
    seen = wanted;
  }
  for (const [tab, { name, end }] of buttons) {
    name.textContent = tab.title || tab.url || 'New tab';
    name.ariaSelected = String(tab === active);
    end.ariaLabel = `Close ${name.textContent}`;
  }
  $('back').disabled = !active.canGoBack;
  $('forward').disabled = !active.canGoForward;
  if (document.activeElement !== $('address')) $('address').value = active.url === START ? '' : active.url;
  $('notice').textContent = active.problem;
  $('again').hidden = !active.problem;
  document.documentElement.dataset.state = active.problem ? 'waiting' : 'shown';
}

function addButtons(tab) {
  const name = button('', () => show(tab));
  name.role = 'tab';
  const end = button('×', () => close(tab));
  buttons.set(tab, { name, end });
  $('strip').append(name, end);
}

function button(text, action) {
  const made = Object.assign(document.createElement('button'), { type: 'button', textContent: text });
  made.addEventListener('click', action);
  return made;
}

$('new').addEventListener('click', () => add(WebView.create(), START));
$('back').addEventListener('click', () => active.view.goBack());
$('forward').addEventListener('click', () => active.view.goForward());
for (const id of ['reload', 'again']) $(id).addEventListener('click', () => active.reload());
$('bar').addEventListener('submit', (event) => {
  event.preventDefault();
  $('address').blur();
  active.go($('address').value);
});
new ResizeObserver(place).observe($('page'));
for (const view of WebView.list()) add(view);
if (!tabs.length) add(WebView.create(), START);
