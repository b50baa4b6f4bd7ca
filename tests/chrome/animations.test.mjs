import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { animate } from '../../chrome/animations.js';

const host = globalThis.chrome.internal.windowAnimations;
let calls;
let nextId = 10;

beforeEach(() => {
  calls = [];
  globalThis.orv = {
    callNative(name, ...args) {
      calls.push([name, ...args].join(' '));
      const size = { 'windowAnimations.animateWindowLocationMultiple': 5, 'windowAnimations.animateGlobalAlphaMultiple': 3 }[name];
      return size ? String((nextId += (args.length - 2) / size) - 1) : '';
    },
  };
});

test('animations of both kinds start, and the promise waits for the last of them', async () => {
  const first = nextId;
  let ended = false;
  const all = animate({ curve: 'Linear', duration: 250 }, [
    { window: '7', from: [1, 2], to: [3, 4] },
    { window: 0, from: [0, 0], to: [9, 9] },
    { window: 8, from: [0], to: [255] },
    { window: 9, from: [5, 6], to: [7, 8] },
  ]).then(() => { ended = true; });
  assert.deepEqual(calls, [
    'windowAnimations.animateWindowLocationMultiple Linear 250 7 1 2 3 4 9 5 6 7 8',
    'windowAnimations.startAnimation',
    'windowAnimations.animateGlobalAlphaMultiple Linear 250 8 0 255',
    'windowAnimations.startAnimation',
  ]);
  for (const id of [first + 1, first + 2]) host.onWindowAnimationFinished(id);
  await new Promise(setImmediate);
  assert.equal(ended, false);
  host.onWindowAnimationFinished(first);
  await all;
  await animate({ curve: 'Linear', duration: 1 }, [{ window: 0, from: [0], to: [1] }]);
  assert.equal(calls.length, 4, 'of no window nothing is asked');
});
