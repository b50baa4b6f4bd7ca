import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { SharedObject, textOfValue, valueOfText } from '../../chrome/pps.js';

// A host with one object, or none.
let host;

beforeEach(() => {
  host = { calls: [], open: { result: true, data: { status: { on: true } } }, write: 'true' };
  globalThis.orv = {
    callNative(name, ...args) {
      host.calls.push([name, ...args]);
      return { 'pps.open': JSON.stringify(host.open), 'pps.write': host.write }[name] ?? '';
    },
  };
});

function follow(object) {
  const reports = [];
  for (const type of ['change', 'failed', 'closed']) {
    object.addEventListener(type, ({ detail }) => reports.push(detail ? `${type} ${detail}` : type));
  }
  return reports;
}

test('an object is opened under an id of its own and hears only of itself', () => {
  const [one, other] = [new SharedObject('a/status'), new SharedObject('other')];
  assert.ok(one.open() && other.open({ create: false }));
  const [[name, id, ...rest], [, otherId, ...otherRest]] = host.calls;
  assert.deepEqual([name, ...rest, ...otherRest], ['pps.open', 'a/status', 0, 66, 384, 'other', 0, 2, 384]);
  assert.notEqual(id, otherId);
  assert.deepEqual([one.name, one.attributes], ['status', { on: true }]);

  const [reports, otherReports] = [follow(one), follow(other)];
  const tell = globalThis.chrome.internal.pps.onEvent;
  tell(id, 'Opened');
  tell(id, 'NewData', '{"status":{"on":false,"n":1}}');
  tell(id, 'WriteFailed', 'why');
  tell(4711, 'NewData', 'nobody reads this');
  assert.deepEqual(one.attributes, { on: false, n: 1 });
  tell(id, 'Closed');
  tell(id, 'NewData', '{"status":{}}');
  assert.deepEqual(reports, ['change', 'failed why', 'closed']);
  assert.deepEqual(otherReports, []);
  assert.deepEqual([one.isOpen, other.isOpen], [false, true]);
});

test('an object that cannot be opened or written says so', () => {
  const object = new SharedObject('status');
  host.open = { result: false };
  assert.equal(object.open(), false);
  assert.equal(object.write({ a: null }), true);
  assert.equal(host.calls.at(-1)[2], '{"a":null}');
  host.write = 'false';
  assert.equal(object.write({ a: 'x' }), false);
});

test('what a person types is a text where there was one, and JSON where it can be', () => {
  for (const value of ['', 'text', '12', 'true', 12, true, null, [1, 'x'], { a: 1 }]) {
    assert.deepEqual(valueOfText(textOfValue(value), value), value);
  }
  assert.equal(valueOfText('{bad', 5), '{bad');
  assert.equal(valueOfText('12'), 12);
  assert.equal(valueOfText('"12"'), '12');
});
