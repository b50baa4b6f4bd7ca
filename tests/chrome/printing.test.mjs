import assert from 'node:assert/strict';
import test from 'node:test';
import { Printing } from '../../chrome/page-tools.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

test('a document prints once unasked, and in a loop there is one question', () => {
  const questions = [];
  const answers = [];
  const tabs = fakeTabs();
  const dialogs = { ask: (tab, question) => questions.push(question) };
  const downloads = { folder: '/d', nameFor: (name) => name, addFile: () => {} };
  new Printing(tabs, { dialogs, downloads, preferences: { get: () => 'pdf' } });
  const tab = fakeTab({ url: 'https://a.example/', title: 'A' });
  const print = (number) => dialogs.onPrint(tab, (...answer) => answers.push([number, ...answer]), number > 1);
  [1, 2, 3].forEach(print);
  assert.deepEqual([answers, questions.length], [[[1, true, '/d/A.pdf']], 1]);
  questions[0].answer(false);
  assert.deepEqual(answers[1], [3, false], 'the host has forgotten the second');
  print(4);
  questions[1].drop();
  assert.deepEqual([answers[2], questions[1].canBeSilenced], [[4, false], true]);
  tabs.report('committed', tab);
  print(5);
  assert.deepEqual(answers[3], [5, true, '/d/A.pdf']);
});
