import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { endedWords } from '../../chrome/ended.js';
import { HERE, Processes } from '../../chrome/processes.js';
import { Tab } from '../../chrome/tab.js';

// A host that has child processes: for each web view the process that was asked for.
let host;
let lastHandle = 1;
let tabs;
let processes;

const raise = (handle, name, data = '') => globalThis.chrome.internal.webEvent(handle, name, data, 0);

beforeEach(() => {
  host = { views: new Map(), loaded: [], refuses: false };
  globalThis.orv = {
    callNative(name, handle, ...args) {
      if (name === 'bindingManager.listBindings') return 'webview.create\nwebview.delete\nwebview.loadURL\nwebview.applicationWindowGroup\nwebview.setVisible\nwebview.openWindowResponse\nwebview.isPrivateBrowsing\nwebview.setPrivateBrowsing\n';
      if (name === 'webview.create') {
        if (host.refuses) return '0';
        host.views.set(++lastHandle, Number(args[0] ?? 0));
        return String(lastHandle);
      }
      if (name === 'webview.delete') host.views.delete(handle);
      if (name === 'webview.setPrivateBrowsing') host.loaded.push([handle, 'private']);
      if (name === 'webview.loadURL') host.loaded.push([handle, ...args]);
      return '';
    },
  };
  tabs = { list: [], reports: [] };
  processes = new Processes(tabs);
});

function open(url, process = HERE) {
  const tab = new Tab((_, what) => { if (what) tabs.reports.push([url, what]); }, { process, processes });
  tabs.list.push(tab);
  tab.navigate(url);
  if (tab.view) raise(tab.view.handle, 'Created');
  return tab;
}

/** All of a process, in the order in which the web views were made. */
function crash(number) {
  for (const [handle, its] of host.views) {
    if (its !== number) continue;
    raise(handle, 'ProcessCrash');
    host.views.delete(handle);
  }
}

const reopen = (tab) => {
  tab.reload();
  if (tab.view) raise(tab.view.handle, 'Created');
};
const numbers = (...list) => list.map((tab) => tab.view && [tab.process.number, host.views.get(tab.view.handle)]);

test('a tab lives where it was asked for, and new processes have the lowest free number', () => {
  const [first, second, third] = [open('a:'), open('b:', processes.fresh()), open('c:', processes.fresh())];
  const shared = open('d:', second.process);
  assert.deepEqual(numbers(first, second, third, shared), [[0, 0], [1, 1], [2, 2], [1, 1]]);
  assert.deepEqual(processes.running, [second.process, third.process]);
  assert.equal(processes.describe(first), 'In the program’s own process');
  assert.equal(processes.describe(third), 'In process 2, alone');

  // A number is free with its last tab.
  tabs.list = tabs.list.filter((tab) => tab !== second);
  second.end();
  assert.deepEqual(processes.fresh(), { number: 3 });
  shared.end();
  assert.deepEqual(processes.fresh(), { number: 1 });
});

test('tabs that lost their process together go on together, apart from all others', () => {
  const here = open('a:');
  const process = processes.fresh();
  const [one, two, three] = ['x', 'y', 'z'].map((name) => open(`http://${name}/`, process));
  one.navigate('http://wanted/');
  crash(1);
  assert.deepEqual(tabs.reports.filter(([, what]) => what === 'crashed').length, 3);
  assert.deepEqual([here, one, two, three].map(({ ended }) => ended), ['', 'crashed', 'crashed', 'crashed']);
  assert.deepEqual(processes.running, []);
  assert.equal(endedWords(one, tabs.list).note, 'It was that of “y” and another tab, too.');

  // Somebody else has the number by now.
  const other = open('http://o/', processes.fresh());
  host.loaded = [];
  reopen(one);
  reopen(two);
  assert.deepEqual(numbers(other, one, two), [[1, 1], [2, 2], [2, 2]]);
  assert.equal(one.ended, '');
  assert.deepEqual(host.loaded.map(([, url]) => url), ['http://wanted/', 'http://y/']);
  // What they went on in has ended, too: it is no place for the third.
  crash(2);
  open('http://p/', processes.fresh());
  reopen(three);
  assert.deepEqual(numbers(three), [[3, 3]]);
  reopen(one);
  assert.deepEqual(numbers(one), [[4, 4]]);
});

test('a private tab is one before it loads anything, and again in its next process', () => {
  const tab = new Tab(() => {}, { process: processes.fresh(), processes, isPrivate: true });
  tabs.list.push(tab);
  const opened = () => {
    host.loaded = [];
    tab.navigate('http://secret/');
    raise(tab.view.handle, 'Created');
    return host.loaded.map(([, what]) => what);
  };
  assert.deepEqual(opened(), ['private', 'http://secret/']);
  crash(1);
  assert.deepEqual(opened(), ['private', 'http://secret/']);
  assert.ok(new Tab(() => {}, { process: HERE, processes, opener: tab }).isPrivate);
});
