import assert from 'node:assert';
import { test } from 'node:test';
import { factsOf } from '../../chrome/device.js';

test('the device is told in words, and what is not known is left out', () => {
  const facts = Object.fromEntries(factsOf({
    power: { level: 81.4, state: 'discharging', onBattery: true },
    network: { state: 'online', type: 'wifi', strength: 40, wifi: true },
    audio: { volume: 0, muted: true },
    storage: { volumes: [{ label: '', device: '/dev/sdb1', mounted: '' }, { label: 'Stick', mounted: '/media/stick' }] },
  }));
  assert.equal(facts.Power, '81 %, discharging, on battery');
  assert.equal(facts.Network, 'online, wifi, 40 %');
  assert.equal(facts.Audio, '0 %, muted');
  assert.equal(facts.Storage, '/dev/sdb1, Stick at /media/stick');
  assert.equal(facts.Bluetooth, '');
  assert.equal(facts.Display, '');
});
