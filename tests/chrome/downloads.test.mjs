import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { DownloadList, freeName, stateText } from '../../chrome/downloads.js';
import { HERE } from '../../chrome/processes.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

let tabs;
let list;
let commands;
let questions;

const openTab = (process = HERE) => tabs.open(fakeTab({ calls: commands, process, requested: '', url: '', stay: () => commands.push(['stay']) }));
const request = (tab, downloadId, filename) => tab.raise('DownloadRequest', { downloadId, filename, url: `http://x/${filename}` });

beforeEach(() => {
  tabs = fakeTabs();
  commands = [];
  questions = [];
  list = new DownloadList(tabs, { ask: (tab, question) => questions.push(question) });
});

test('a later file of the same name does not take the place of an earlier one', () => {
  const tab = openTab();
  assert.deepEqual(request(tab, 1, 'a.tar.gz'), { setAction: 'ActionSave', setFilename: 'a.tar.gz' });
  assert.equal(request(openTab(), 2, 'a.tar.gz').setFilename, 'a (2).tar.gz');
  assert.equal(request(openTab(), 3, 'a.tar.gz').setFilename, 'a (3).tar.gz');
  assert.equal(freeName('.profile', (name) => name === '.profile'), '.profile (2)');
  assert.equal(freeName('noending', (name) => name === 'noending'), 'noending (2)');
  assert.deepEqual(['', '.', 'a/..', '/home/me/.profile', '../x\n.txt'].map((name) => freeName(name, () => false)), ['download', 'download', 'download', '.profile', 'x.txt']);
});

test('a file that is in the folder already, of whatever time, is not written over', (context) => {
  globalThis.orv = { callNative: (name, path) => (name === 'application.realpath' && path === '/d/a.txt' ? path : '') };
  context.after(() => delete globalThis.orv);
  list = new DownloadList(tabs = fakeTabs(), {}, { preferences: { get: () => '/d//' } });
  assert.equal(request(openTab(), 1, 'a.txt').setFilename, '/d/a (2).txt');
  assert.equal(request(openTab(), 2, '/d/../d/b.txt').setFilename, '/d/b.txt');
  assert.equal(list.nameFor('a.txt', list.folder), 'a (3).txt');
});

test('a site saves one file unasked, and more when a person says so', async () => {
  const tab = openTab();
  tab.url = 'https://a.example/page';
  assert.equal(request(tab, 1, 'first').setAction, 'ActionSave');
  assert.deepEqual([2, 3].map((id) => request(tab, id, `f${id}`)), [{ setAction: 'ActionPending' }, { setAction: 'ActionPending' }]);
  assert.equal(questions.length, 1, 'one question for all of them');
  assert.equal(list.items.length, 1, 'nothing is shown that is not saved');
  questions[0].answer(true);
  assert.deepEqual(commands, [['downloadUpdate', 2, 'ActionSave', 'f2'], ['downloadUpdate', 3, 'ActionSave', 'f3']]);
  assert.equal(request(tab, 4, 'f4').setAction, 'ActionSave');

  // Another site begins anew, and a refusal stands; an address that a person has entered is no page's wish.
  tab.url = 'https://b.example/';
  commands.length = 0;
  assert.equal(request(tab, 5, 'f5').setAction, 'ActionSave');
  assert.equal(request(tab, 6, 'f6').setAction, 'ActionPending');
  questions[1].answer(false);
  assert.equal(request(tab, 7, 'f7').setAction, 'ActionPending');
  await null;
  assert.deepEqual(commands, [['downloadUpdate', 6, 'ActionDiscard', ''], ['downloadUpdate', 7, 'ActionDiscard', '']]);
  tab.requested = 'http://x/f8';
  assert.equal(request(tab, 8, 'f8').setAction, 'ActionSave');
});

test('an address that was a file leaves the tab where it was', () => {
  const tab = openTab();
  request(tab, 1, 'link');
  assert.deepEqual(commands, []);
  tab.requested = 'http://x/file';
  request(tab, 2, 'file');
  assert.deepEqual(commands, [['stay']]);
});

test('from the request over failure and retry to the end', () => {
  const tab = openTab();
  request(tab, 4, 'film');
  const [item] = list.items;
  assert.equal(list.progress, null);
  tab.raise('DownloadStarted', { downloadId: 4, filename: '/d/film', url: 'u' });
  tab.raise('DownloadProgress', { downloadId: 4, downloadedSize: '500', totalSize: '2000' });
  assert.equal(list.progress, 0.25);
  list.cancel(item);
  tab.raise('DownloadFinished', { downloadId: 4, downloadResult: 'ResultCancelled' });
  assert.equal(stateText(item), 'Cancelled');
  assert.ok(list.canRetry(item));
  list.retry(item);
  assert.equal(list.running.length, 1);
  tab.raise('DownloadFinished', { downloadId: 4, downloadResult: 'ResultSuccess' });
  assert.ok(!list.canRetry(item));
  assert.deepEqual(commands, [['downloadCancel', 4], ['downloadRetry', 4]]);
  assert.equal(list.items.length, 1);
  list.clearFinished();
  assert.equal(list.items.length, 0);
});

test('a paused download is kept when the finished ones are cleared, and goes on', () => {
  const tab = openTab();
  request(tab, 6, 'film');
  tab.raise('DownloadProgress', { downloadId: 6, downloadedSize: '500', totalSize: '2000' });
  const [item] = list.items;
  const actions = () => list.actionsOf(item).map(([word]) => word);
  list.actionsOf(item)[0][1]();
  assert.deepEqual([stateText(item), actions()], ['Paused at 500 bytes', ['Resume', 'Cancel']]);
  list.clearFinished();
  assert.equal(list.items.length, 1);
  list.actionsOf(item)[0][1]();
  assert.deepEqual(actions(), ['Pause', 'Cancel']);
  assert.deepEqual(commands, [['downloadPause', 6], ['downloadResume', 6]]);
});

test('after its tab, a download is neither followed nor commanded', () => {
  const tab = openTab();
  request(tab, 5, 'film');
  tabs.close(tab);
  tab.view = null;
  assert.equal(list.running.length, 0);
  list.clearFinished();
  assert.deepEqual(commands, []);
});

test('downloads of two processes that have the same number are two, and one ends with its process', () => {
  const [here, there] = [openTab(), openTab({ number: 1 })];
  request(here, 1, 'near');
  request(there, 1, 'far');
  here.raise('DownloadFinished', { downloadId: 1, downloadResult: 'ResultSuccess' });
  assert.deepEqual(list.items.map(({ name, state }) => [name, state]), [['far', 'running'], ['near', 'finished']]);
  tabs.report('crashed', there);
  assert.equal(stateText(list.items[0]), 'The process that loaded it ended');
});
