// What the host tells of other applications.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import './fakes.mjs';
import { invokedAddress, Platform } from '../../chrome/platform.js';

test('a request of another application reaches its listener, and its address is a text or none', () => {
  const chrome = { internal: {} };
  const heard = [];
  const platform = new Platform(chrome);
  platform.addEventListener('onInvoked', ({ detail }) => heard.push(...detail));
  chrome.internal.invocation.onInvoked('{"action":"open","uri":"example.org"}');
  assert.deepEqual(heard.map(invokedAddress), ['example.org']);
  for (const none of ['{"action":"activate"}', '{"uri":7}', 'null', '', 'x']) assert.equal(invokedAddress(none), '');
});
