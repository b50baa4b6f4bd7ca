import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { HERE, Processes } from '../../chrome/processes.js';
import { Session } from '../../chrome/session.js';
import { Settings, SETTINGS, valueOf } from '../../chrome/settings.js';
import { Store } from '../../chrome/store.js';
import { TakeOver } from '../../chrome/take-over.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

const START = 'local:///start';
let tabs;
let kept;
let room;
let store;
let current;

const storage = () => ({
  get length() { return kept.size; },
  key: (index) => [...kept.keys()][index],
  getItem: (name) => kept.get(name) ?? null,
  removeItem: (name) => kept.delete(name),
  setItem(name, text) {
    if (text.length > room) throw new Error('full');
    kept.set(name, text);
  },
});

function openTab(url, { isPrivate = false, process = HERE, ...fields } = {}) {
  const commands = { isPrivateBrowsing: () => (isPrivate ? '1' : '0'), requestSession: () => tab.raise('SessionInfo', { data: `way to ${url}` }) };
  const tab = fakeTab({ url, title: url, process, isPrivate, commands, ...fields });
  tabs.open(tab);
  tabs.report('loaded', tab);
  return tab;
}
const nextStart = () => {
  current?.write();
  tabs = fakeTabs({ reopened: [] });
  tabs.processes = new Processes(tabs);
  tabs.reopen = (url, title, state, process) => {
    tabs.reopened.push([url, title, state, process.number]);
    openTab(url, { process });
  };
  store = new Store(storage());
  return (current = new Session(tabs, store, { isStart: (url) => url === START }));
};

beforeEach(() => {
  current = undefined;
  kept = new Map();
  room = Infinity;
  nextStart();
});

test('what was chosen goes to this tab and, before its page, to every later one', () => {
  const settings = new Settings(tabs, store);
  const tab = openTab('http://a/');
  const [flag, secret] = ['BlockPopups', 'PrivateBrowsing'].map((name) => SETTINGS.find((each) => each.name === name));
  // What tabs begin with comes by itself; see below.
  const chosen = ({ calls }) => calls.filter(([command]) => SETTINGS.find(({ name }) => command === `set${name}`).start === undefined);
  settings.choose(tab.view, flag, valueOf(flag, false));
  settings.choose(tab.view, secret, true);
  assert.deepEqual(chosen(tab), [['setBlockPopups', true]]);

  nextStart();
  new Settings(tabs, store);
  assert.deepEqual(chosen(openTab('http://b/')), [['setBlockPopups', true], ['setPrivateBrowsing', true]]);
  assert.deepEqual(chosen(openTab('http://c/', { opener: tab })), [['setBlockPopups', true]]);
});

test('tabs come back with their way; start pages and private ones do not', () => {
  openTab(START);
  openTab('http://a/');
  openTab('http://secret/', { isPrivate: true });
  const closed = openTab('http://b/');
  tabs.close(closed);

  const session = nextStart();
  openTab(START);
  assert.equal(session.lastTime.length, 1);
  session.restore();
  session.restore();
  assert.deepEqual(tabs.reopened, [['http://a/', 'http://a/', 'way to http://a/', 0]]);
});

test('tabs that shared a process share one again, whatever its number', () => {
  const [ended, one, other] = [{ number: 1 }, { number: 1 }, { number: 2 }];
  for (const [url, process] of [['http://a/', one], ['http://b/', HERE], ['http://c/', other], ['http://d/', one]]) openTab(url, { process });
  Object.assign(openTab('http://e/', { process: ended }), { view: null, ready: false });
  tabs.report('closed', {});

  const session = nextStart();
  openTab('http://f/', { process: { number: 2 } });
  session.restore();
  const numbers = Object.fromEntries(tabs.reopened.map(([url,,, number]) => [url, number]));
  assert.deepEqual(numbers, { 'http://a/': 1, 'http://b/': 0, 'http://c/': 3, 'http://d/': 1, 'http://e/': 4 });
});

test('a history that was cleared is not remembered, and neither is too long a one', () => {
  const tab = openTab('http://a/');
  tabs.report('forgotten', tab);
  tabs.report('loaded', tab);
  assert.deepEqual(nextStart().lastTime, [{ url: 'http://a/', title: 'http://a/', state: '', process: 0 }]);

  room = 160;
  openTab('http://a-long-address/');
  openTab('http://b/');
  openTab(`data:,${'x'.repeat(4000)}`);
  assert.deepEqual(nextStart().lastTime.map(({ url, state }) => [url, state]), [['http://a-long-address/', ''], ['http://b/', '']]);
  // What cannot be written at all leaves what was there.
  room = 1;
  openTab('http://c/');
  assert.equal(nextStart().lastTime.length, 2);
});

test('what a former document of this run had open is not offered, and its way is asked for', () => {
  kept.set('pagehost.session', JSON.stringify([{ url: 'http://a/', title: 'a', state: 'an old way', process: 0 }]));
  const session = nextStart();
  const commands = { requestSession: () => tab.raise('SessionInfo', { data: 'the way' }) };
  const tab = tabs.open(fakeTab({ url: 'http://a/', title: 'a', process: HERE, commands }));
  session.takeOver();
  assert.deepEqual([session.lastTime, session.stateOf(tab)], [[], 'the way']);
});

test('views of a former chrome come back as they were; of unknown ones all do', (context) => {
  context.after(() => { delete globalThis.orv; delete globalThis.leftWebViews; });
  const deleted = [];
  globalThis.orv = { callNative: (name, handle) => void deleted.push(handle) };
  globalThis.leftWebViews = '[3, 4]';
  const takenBy = (views, viewer) => {
    kept.set('pagehost.views', JSON.stringify(views));
    nextStart();
    const taken = [];
    Object.assign(tabs, { activate: () => {}, takeOver: (handle, { process }) => { taken.push([handle, process.number]); tabs.list.push({}); return {}; } });
    new TakeOver(tabs, store, viewer).run();
    return taken;
  };
  assert.deepEqual([takenBy([{ handle: 4, process: 2 }, { handle: 9, process: 0 }]), deleted.splice(0)], [[[4, 2]], [3]]);
  assert.deepEqual([takenBy([{ handle: 9, process: 0 }]), deleted], [[[3, 0], [4, 0]], []]);
  assert.deepEqual(takenBy([{ handle: 4, process: 2 }], 'outer-1'), [[3, 0], [4, 0]], 'those of another window');
});

test('texts of another time or hand restore nothing', () => {
  for (const text of ['{', '{"url":1}', '[{}]', '[{"url":"javascript:alert(1)"}]', 'null']) {
    kept.set('pagehost.session', text);
    assert.deepEqual(nextStart().lastTime, [], text);
  }
});

test('what is remembered outlives the clearing of the storage', async () => {
  kept.set('pagehost.language', '{"language":"de"}');
  store.set('settings', { LoadImages: false });
  await store.outlive(() => setTimeout(() => kept.clear(), 30));
  assert.deepEqual([...kept.keys()], ['pagehost.language', 'pagehost.settings']);
  nextStart();
  assert.deepEqual(store.get('settings'), { LoadImages: false });
});
