import assert from 'node:assert/strict';
import test from 'node:test';
import { keyText } from '../../chrome/commands.js';
import { partOf } from '../../chrome/cutouts.js';
import { fileNameFor, measure, stateText } from '../../chrome/downloads.js';
import { nameOf } from '../../chrome/keyboard.js';
import { meaningOf } from '../../chrome/links.js';
import { suggestionsFor } from '../../chrome/suggestions.js';
import { Visited } from '../../chrome/visited.js';
import { fakeTabs } from './fakes.mjs';

test('the button and the keys of a click say where its link opens', () => {
  const meanings = [[1, 0, ''], [1, 4, 'behind'], [2, 0, 'behind'], [2, 1, 'tab'], [1, 5, 'tab'], [1, 1, 'window'], [0, 4, 'behind'], [1, 2, '']];
  for (const [button, modifierMask, meaning] of meanings) assert.equal(meaningOf({ button, modifierMask }), meaning, `${button} ${modifierMask}`);
});

test('keys have one name, as they are pressed and as they are shown', () => {
  const key = (name, held = {}) => nameOf({ key: name, ctrlKey: false, altKey: false, shiftKey: false, ...held });
  assert.equal(key('T', { ctrlKey: true, shiftKey: true }), 'Ctrl+Shift+t');
  assert.equal(key('+', { ctrlKey: true, shiftKey: true }), 'Ctrl++');
  assert.equal(key('Tab', { ctrlKey: true, shiftKey: true }), 'Ctrl+Shift+Tab');
  assert.deepEqual(['Ctrl+Shift+t', 'Ctrl++', 'Ctrl+-', 'Alt+ArrowLeft'].map((name) => keyText({ keys: [name] })), ['Ctrl+Shift+T', 'Ctrl++', 'Ctrl+−', 'Alt+←']);
});

test('only what lies over the page is cut out of it, from its own corner', () => {
  const room = { x: 0, y: 100, width: 800, height: 380 };
  assert.deepEqual(partOf(room, { left: 700.4, top: 90, right: 900, bottom: 199.5 }), [700, 0, 100, 100]);
  assert.equal(partOf(room, { left: 0, top: 0, right: 800, bottom: 100 }), null);
});

test('suggestions have every word, once per address, the best first', () => {
  const now = 1e12;
  const visited = [
    { url: 'https://news.example/', title: 'The news', at: now, count: 1 },
    { url: 'https://www.example.org/news', title: 'Old', at: now - 9e9, count: 1 },
    { url: 'https://often.example/', title: 'Read often: news', at: now, count: 99 },
  ];
  const addresses = (typed, more = {}) => suggestionsFor(typed, { visited, ...more }, now).map(({ kind, url }) => `${kind} ${url}`);
  assert.deepEqual(addresses('news'), ['visited https://news.example/', 'visited https://often.example/', 'visited https://www.example.org/news']);
  assert.deepEqual(addresses('often news'), ['visited https://often.example/']);
  assert.deepEqual(addresses('www.example.org', { bookmarks: [{ url: 'https://www.example.org/news', title: 'Kept' }] }), ['bookmark https://www.example.org/news']);
  assert.deepEqual(addresses('  '), []);
});

test('what was visited is kept by address, without private pages, and what does not fit goes', () => {
  const kept = {};
  let room = Infinity;
  const store = { get: (name) => kept[name] ?? null, set: (name, value) => value.length <= room && Boolean(kept[name] = value) };
  const tabs = fakeTabs();
  const visited = new Visited(tabs, store, () => 7);
  const visit = (url, fields) => tabs.report('loaded', { url, title: url, ...fields });
  for (const url of ['https://a/', 'https://b/', 'https://a/', 'data:,x']) visit(url);
  visit('https://secret/', { isPrivate: true });
  assert.deepEqual(visited.list.map(({ url, count }) => [url, count]), [['https://a/', 2], ['https://b/', 1]]);
  tabs.report('change', { url: 'https://b/', title: 'Late', loading: false });
  assert.equal(visited.list[1].title, 'Late');
  room = 1;
  visited.write();
  assert.deepEqual(kept.visited.map(({ url }) => url), ['https://a/']);
});

test('the speed of a download settles, and tells how long the rest takes', () => {
  let item = { speed: 0, measured: undefined };
  for (let second = 0; second <= 20; second++) item = { ...item, ...measure(item, second * 1000000, second * 1000) };
  assert.ok(Math.abs(item.speed - 1e6) < 1, item.speed);
  assert.equal(stateText({ state: 'running', done: 2e7, total: 8e7, speed: 1e6 }), '20.0 MB of 80.0 MB · 1.0 MB a second · 1 min left');
  assert.equal(measure({ speed: 5, measured: { at: 0, done: 100 } }, 50, 1000).speed, 0, 'begun anew');
});

test('a title that is a path makes a plain file name', () => {
  assert.equal(fileNameFor('../../etc: a/b\n'), 'etc a b');
  assert.equal(fileNameFor('...'), 'page');
});
