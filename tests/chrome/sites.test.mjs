import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { Blocker, makeMatcher } from '../../chrome/blocker.js';
import { NotificationList } from '../../chrome/notifications.js';
import { Permissions } from '../../chrome/permissions.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

let tabs;
let kept;
let store;
const openTab = (fields) => tabs.open(fakeTab(fields));

beforeEach(() => {
  kept = {};
  store = { get: (name) => kept[name] ?? null, set: (name, value) => { kept[name] = value; } };
  tabs = fakeTabs({ activate: (tab) => { tabs.active = tab; } });
});

test('a line of the list names a host with all below it, or a part of an address', () => {
  const named = makeMatcher(['# shop.example', ' Ads.example ', '*/tracking/*.gif', 'https://a.example/x', '*', '']);
  for (const [url, line] of [
    ['https://ads.example/', 'ads.example'],
    ['https://x.y.ADS.example:8080/a?b', 'ads.example'],
    ['https://badads.example/', ''],
    ['https://other.example/?ads.example', ''],
    ['https://shop.example/', ''],
    ['http://b.example/tracking/1/dot.gif?9', '*/tracking/*.gif'],
    ['http://b.example/dot.gif/tracking/', ''],
    ['https://a.example/xyz', 'https://a.example/x'],
    ['not an address', ''],
    ['', ''],
  ]) assert.equal(named(url), line, url);
  const long = makeMatcher([`${'*a'.repeat(200)}*b`]);
  const before = performance.now();
  long(`http://x/${'a'.repeat(100000)}`);
  assert.ok(performance.now() - before < 1000);
});

test('a tab whose switch is on is asked about, and counts what its page lost', () => {
  const blocker = new Blocker(tabs, store);
  const tab = openTab();
  const ask = (url, targetType = 'TargetIsImage') => tab.raise('NetworkResourceRequested', { url, targetType }).setAction;
  assert.deepEqual(tab.calls.pop(), ['setEnableNetworkResourceRequestedEvents', false]);
  assert.equal(ask('http://ads.example/1'), 'ACCEPT');
  blocker.switch(tab, true);
  assert.deepEqual(tab.calls.pop(), ['setEnableNetworkResourceRequestedEvents', true]);
  assert.equal(ask('http://ads.example/', 'TargetIsMainFrame'), 'ACCEPT');
  assert.equal(ask('http://ads.example/1'), 'DENY');
  assert.equal(ask('http://fine.example/'), 'ACCEPT');
  assert.deepEqual(tab.blocked, [{ url: 'http://ads.example/1', line: 'ads.example' }]);
  ask('http://fine.example/2', 'TargetIsMainFrame');
  assert.deepEqual(tab.blocked, []);
  blocker.lines = ['fine.example'];
  assert.deepEqual([ask('http://ads.example/1'), ask('http://fine.example/')], ['ACCEPT', 'DENY']);
  // Later tabs begin as this one, and the next start as this one ended.
  assert.deepEqual(openTab().calls.at(-1), ['setEnableNetworkResourceRequestedEvents', true]);
  assert.deepEqual(new Blocker(tabs, store).lines, ['fine.example']);
});

test('decisions are remembered by origin; those of private tabs go with the last of them', () => {
  const permissions = new Permissions(tabs, store);
  permissions.decide(false, 'http://a', 'geolocation', true);
  permissions.decide(false, 'http://a', 'camera', false);
  assert.deepEqual(new Permissions(tabs, store).all(false), { 'http://a': { geolocation: true, camera: false } });
  assert.equal(permissions.decided(false, 'http://a', 'microphone'), undefined);
  assert.equal(permissions.decided(false, 'constructor', 'name'), undefined);
  permissions.decide(false, 'http://a', 'geolocation', undefined);
  permissions.decide(false, 'http://a', 'camera', undefined);
  assert.deepEqual(kept.permissions, {});

  const [first, second] = [openTab({ isPrivate: true }), openTab({ isPrivate: true })];
  permissions.decide(true, 'http://b', 'notification', true);
  assert.deepEqual([permissions.decided(true, 'http://b', 'notification'), permissions.decided(false, 'http://b', 'notification')], [true, undefined]);
  assert.equal(JSON.stringify(kept).includes('http://b'), false);
  tabs.close(first);
  assert.equal(permissions.decided(true, 'http://b', 'notification'), true);
  tabs.close(second);
  assert.equal(permissions.decided(true, 'http://b', 'notification'), undefined);

  for (let number = 0; number < 600; number++) permissions.decide(false, `http://${number}`, 'camera', true);
  assert.equal(Object.keys(kept.permissions).length, 500);
  assert.equal(permissions.decided(false, 'http://599', 'camera'), true);
});

test('notifications are told back to the page that they are from', () => {
  const list = new NotificationList(tabs);
  const [tab, other] = [openTab(), openTab()];
  const ids = () => list.items.map(({ id }) => id);
  tab.raise('NotificationShow', { id: '1', tag: 'mail' });
  tab.raise('NotificationShow', { id: '2', tag: 'mail' });
  assert.deepEqual(ids(), ['2']);
  assert.ok(tab.calls.some(([name, id]) => name === 'notificationClosed' && id === '1'));
  other.raise('NotificationShow', { id: '2', tag: 'mail' });
  assert.equal(list.items.length, 2);
  list.click(list.items[1]);
  assert.equal(tabs.active, tab);
  assert.deepEqual(tab.calls.slice(-2), [['notificationClicked', '2'], ['notificationClosed', '2']]);
  other.raise('NotificationCancel', { id: '2' });
  assert.deepEqual(ids(), []);
  for (const id of ['a', 'b', 'c', 'd']) tab.raise('NotificationShow', { id });
  assert.deepEqual(ids(), ['d', 'c', 'b']);
  assert.deepEqual(tab.calls.at(-1), ['notificationClosed', 'a']);
  tabs.close(tab);
  assert.deepEqual(ids(), []);
});
