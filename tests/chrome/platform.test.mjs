import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { answerPlatform, Platform } from '../../chrome/platform.js';

let chrome;
let platform;
let calls;

beforeEach(() => {
  calls = [];
  globalThis.orv = { callNative: (name, ...args) => { calls.push([name, ...args].join(' ')); return ''; } };
  chrome = { internal: {} };
  platform = new Platform(chrome, () => new Date(0));
});

test('every notification is heard, the newest first, and the list has an end', () => {
  const names = [];
  platform.addEventListener('onCardResize', ({ detail }) => names.push(detail));
  chrome.internal.invocation.onCardResize('1', '2');
  chrome.internal.application.onWindowState('fullscreen');
  assert.equal(platform.state.window, 'fullscreen');
  assert.deepEqual(names, [['1', '2']]);
  assert.deepEqual(platform.last.map(({ space, name, args }) => [space, name, ...args]),
    [['application', 'onWindowState', 'fullscreen'], ['invocation', 'onCardResize', '1', '2']]);
  for (let i = 0; i < 100; ++i) chrome.internal.application.onSwipeDown();
  assert.equal(platform.last.length, 30);
});

test('the chrome turns along, and gives up memory in every view that takes commands', () => {
  answerPlatform(platform, { list: [{ ready: true, view: { handle: 5 } }, { ready: false, view: { handle: 6 } }] });
  chrome.internal.application.onRotate('left_up', '90');
  chrome.internal.application.onLowMemory();
  assert.deepEqual(calls.filter((call) => !call.startsWith('bindingManager')),
    ['application.notifyRotateComplete', 'webview.notifySystemLowMemory 1', 'webview.notifySystemLowMemory 5']);
});
