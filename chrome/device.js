/** The objects of the device that pagehost-device keeps: battery, network, sound and so on, live. */

import { SharedObject } from './pps.js';

const FOLDER = '/device/';

/** In the order in which they are shown. An object that nobody keeps is empty. */
const NAMES = ['power', 'network', 'bluetooth', 'audio', 'display', 'storage', 'session', 'time'];

const rounded = (value) => `${Math.round(value)} %`;
const list = (...parts) => parts.filter(Boolean).join(', ');

/** What a person wants to know of each. */
const SHOWN = {
  power: ({ level, state, onBattery, lidClosed }) => list(level !== undefined && rounded(level), state,
    onBattery === true && 'on battery', onBattery === false && 'mains', lidClosed && 'lid closed'),
  network: ({ state, connection, type, strength, metered, wifi }) => list(state, connection, type,
    strength !== undefined && rounded(strength), metered && 'metered', wifi === false && 'Wi-Fi off'),
  bluetooth: ({ powered, name, devices = [] }) => list(powered !== undefined && (powered ? 'on' : 'off'), name,
    ...devices.map((device) => device.name)),
  audio: ({ volume, muted, output }) => list(volume !== undefined && rounded(volume), muted && 'muted', output),
  display: ({ brightness }) => (brightness === undefined ? '' : `brightness ${rounded(brightness)}`),
  storage: ({ volumes = [] }) => list(...volumes.map(({ label, device, mounted }) => `${label || device}${mounted && ` at ${mounted}`}`)),
  session: ({ active, locked, seat, ending }) => list(seat, active === false && 'not shown', locked && 'locked', ending && `before ${ending}`),
  time: ({ zone, offset }) => list(zone, offset !== undefined && `${offset} minutes ahead of UTC`),
};

/** Pairs of a title and a text, of what is known. */
export const factsOf = (objects) => NAMES.map((name) => [`${name[0].toUpperCase()}${name.slice(1)}`, SHOWN[name](objects[name] ?? {})]);

/** Reports "change" when one of the objects has changed. */
export class Device extends EventTarget {
  #objects = new Map();

  /** Opens what is not open yet. */
  open() {
    for (const name of NAMES) {
      if (this.#objects.get(name)?.isOpen) continue;
      const object = new SharedObject(FOLDER + name);
      object.addEventListener('change', () => this.dispatchEvent(new Event('change')));
      object.open();
      this.#objects.set(name, object);
    }
  }

  get state() {
    return Object.fromEntries([...this.#objects].map(([name, { attributes }]) => [name, attributes]));
  }

  /** Sets a member of an object; the device takes it if its configuration allows it. */
  set(name, attributes) {
    return this.#objects.get(name)?.write(attributes) ?? false;
  }
}
