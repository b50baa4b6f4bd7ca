import assert from 'node:assert/strict';
import test, { beforeEach } from 'node:test';
import { SharedObject, textOfValue, valueOfText } from '../../chrome/pps.js';

let calls;

beforeEach(() => {
  calls = [];
  globalThis.orv = {
    callNative(name, ...args) {
      calls.push([name, ...args]);
      return name === 'pps.open' ? '{"result":true,"data":{"status":{"on":true}}}' : 'true';
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
  const [[name, id, ...rest], [, otherId, ...otherRest]] = calls;
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

test('what a person types is a text where there was one, and JSON where it can be', () => {
  for (const value of ['', 'text', '12', 'true', 12, true, null, [1, 'x'], { a: 1 }]) {
    assert.deepEqual(valueOfText(textOfValue(value), value), value);
  }
  assert.equal(valueOfText('{bad', 5), '{bad');
  assert.equal(valueOfText('12'), 12);
  assert.equal(valueOfText('"12"'), '12');
});
