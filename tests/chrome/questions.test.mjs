import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { Questions } from '../../chrome/questions.js';
import { fakeTabs } from './fakes.mjs';

let tabs;
let shown;
let questions;

const tabNamed = (name) => ({
  name,
  asking: false,
  update(fields) {
    Object.assign(this, fields);
    // As the real ones do: a report for the active tab may come back into the middle of things.
    if (this === tabs.active) report('change', this);
  },
});
const question = (name, log = []) => ({ name, drop: () => log.push(name) });
const report = (type, tab) => tabs.report(type, tab);
const activate = (tab) => {
  tabs.active = tab;
  report('change', tab);
};

beforeEach(() => {
  tabs = fakeTabs();
  shown = [];
  questions = new Questions(tabs, (each) => shown.push(each?.name ?? null));
});

test('one question at a time, in their order, and then none', () => {
  const tab = tabNamed('a');
  const [first, second] = [question('first'), question('second')];
  activate(tab);
  questions.ask(tab, first);
  questions.ask(tab, second);
  assert.deepEqual(shown, ['first']);
  questions.done(first);
  questions.done(first);
  assert.deepEqual(shown, ['first', 'second']);
  assert.ok(tab.asking);
  questions.done(second);
  assert.deepEqual(shown, ['first', 'second', null]);
  assert.ok(!tab.asking);
});

test('a page that goes takes its questions along, each of them refused once', () => {
  for (const end of ['committed', 'crashed', 'closed']) {
    const log = [];
    const [tab, other] = [tabNamed('a'), tabNamed('b')];
    activate(tab);
    questions.ask(tab, question('one', log));
    questions.ask(tab, question('two', log));
    questions.ask(other, question('of another', log));
    report(end, tab);
    report(end, tab);
    assert.deepEqual(log, ['one', 'two'], end);
    assert.equal(questions.shown, null);
    assert.ok(questions.isAsking(other));
  }
});

test('a question outlives the pages that have to do with it, and no other', () => {
  const log = [];
  const tab = tabNamed('a');
  let pages = 1;
  activate(tab);
  questions.ask(tab, question('dialog', log));
  questions.ask(tab, { ...question('certificate', log), outlives: () => pages-- > 0 });
  report('committed', tab);
  assert.deepEqual(log, ['dialog']);
  assert.ok(questions.isAsking(tab));
  report('committed', tab);
  assert.deepEqual(log, ['dialog', 'certificate']);
  assert.ok(!questions.isAsking(tab));
});
