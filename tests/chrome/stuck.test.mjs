import assert from 'node:assert/strict';
import test, { beforeEach, mock } from 'node:test';
import { PATIENCE, StuckPages } from '../../chrome/stuck.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

let open;
let log;
let interrupt;

beforeEach(() => {
  mock.timers.reset();
  // Older versions take the list itself.
  mock.timers.enable(parseInt(process.versions.node, 10) < 20 ? ['setTimeout'] : { apis: ['setTimeout'] });
  const tabs = fakeTabs();
  const tab = fakeTab({ label: 'A page' });
  open = [];
  log = tab.calls;
  interrupt = () => tab.raise('JavaScriptInterrupted');
  new StuckPages({
    ask: (of, question) => open.push(question),
    take: (of, question) => {
      open = open.filter((each) => each !== question);
      question.drop();
    },
  }, tabs);
  tabs.open(tab);
});

test('a page that is stuck is named and asked about once, and stopped or waited for', () => {
  assert.deepEqual(log, [['setJavaScriptInterruptTimeout', PATIENCE]]);
  interrupt();
  interrupt();
  assert.equal(open.length, 1);
  assert.match(open[0].text, /A page/);
  open[0].answer(true);
  assert.deepEqual(log, [['setJavaScriptInterruptTimeout', PATIENCE]]);
  // Still stuck after a while, it is asked about again.
  interrupt();
  assert.equal(open.length, 2);
  open[1].answer(false);
  assert.deepEqual(log, [['setJavaScriptInterruptTimeout', PATIENCE], ['stop']]);
});
