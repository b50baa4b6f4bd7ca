import assert from 'node:assert/strict';
import test, { beforeEach, mock } from 'node:test';
import { PATIENCE, StuckPages } from '../../chrome/stuck.js';

let tab;
let open;
let log;
let interrupt;

beforeEach(() => {
  mock.timers.reset();
  mock.timers.enable({ apis: ['setTimeout'] });
  const tabs = new EventTarget();
  open = [];
  log = [];
  const view = {
    setJavaScriptInterruptTimeout: (limit) => log.push(limit),
    stop: () => log.push('stopped'),
    on: (name, handler) => { if (name === 'JavaScriptInterrupted') interrupt = handler; },
  };
  tab = { view, label: 'A page' };
  new StuckPages({
    ask: (of, question) => open.push(question),
    take: (of, question) => {
      open = open.filter((each) => each !== question);
      question.drop();
    },
  }, tabs);
  for (const type of ['attached', 'created']) tabs.dispatchEvent(Object.assign(new Event(type), { detail: tab }));
});

test('a page that is stuck is named and asked about once, and stopped or waited for', () => {
  assert.deepEqual(log, [PATIENCE]);
  interrupt();
  interrupt();
  assert.equal(open.length, 1);
  assert.match(open[0].text, /A page/);
  open[0].answer(true);
  assert.deepEqual(log, [PATIENCE]);
  // Still stuck after a while, it is asked about again.
  interrupt();
  assert.equal(open.length, 2);
  open[1].answer(false);
  assert.deepEqual(log, [PATIENCE, 'stopped']);
});

test('a page that comes back by itself is not asked about any more', () => {
  interrupt();
  mock.timers.tick(PATIENCE);
  interrupt();
  mock.timers.tick(PATIENCE + 1000);
  assert.equal(open.length, 1);
  mock.timers.tick(PATIENCE);
  assert.equal(open.length, 0);
});
