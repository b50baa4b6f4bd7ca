import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import test from 'node:test';
import { t } from '../../chrome/words.js';
import { de } from '../../chrome/words/de.js';

const folder = new URL('../../chrome/', import.meta.url);
const source = (name) => readFileSync(new URL(name, folder), 'utf8');

function wordsOfCode() {
  const words = readdirSync(folder).filter((name) => name.endsWith('.js'))
    .flatMap((name) => [...source(name).matchAll(/(?<!\w)t\('((?:[^'\\]|\\.)*)'/g)].map(([, text]) => text));
  const [, body] = source('index.html').split('<body>');
  const attributes = [...body.matchAll(/(?:aria-label|title|placeholder)="([^"]+)"/g)].map(([, text]) => text);
  const texts = [...body.matchAll(/>([^<>]+)</g)].map(([, text]) => text.replace(/\s+/g, ' ').trim());
  return new Set([...words, ...attributes, ...texts].filter((text) => /[a-z]{2}/i.test(text)));
}

test('every word has its German, with the same values, and none is left over', () => {
  const english = [...wordsOfCode()].filter((text) => text !== './run');
  assert.deepEqual(english.filter((text) => !(text in de)), []);
  assert.deepEqual(Object.keys(de).filter((text) => !english.includes(text)), []);
  const valuesOf = (text) => (text.match(/\{\w+\}/g) ?? []).sort().join();
  assert.deepEqual(Object.entries(de).filter(([from, to]) => valuesOf(from) !== valuesOf(to)), []);
});

test('values stand in place of their names, and what is not given stays', () => {
  assert.equal(t('{count} of {all}', { count: 2 }), '2 of {all}');
});
