/** A panel that shows what surrounds the program, and tries the functions for it. */

import { Device, factsOf } from './device.js';
import { make, makeFacts } from './dom.js';
import { call, on } from './pagehost.js';
import { Panel } from './panel.js';

/** Errors come by a call of their own, shortly after the call that they belong to. */
const ERROR_BELONGS_FOR = 500;

let requests = 0;
const nextId = () => `panel-${++requests}`;
const request = (where) => JSON.stringify(/^\//.test(where) ? { file: where } : { uri: where });

const device = new Device();
const setOn = (name, attributes) => (device.set(name, attributes) ? 'Written; the object says what the device does with it.' : 'It could not be written.');

/** What can be tried: what it is called, its fields with what stands in them, and what it does. */
const TRIES = [
  ['Window', [
    { label: 'Minimize', run: () => call('application.minimizeWindow') },
    { label: 'Quit', run: () => call('application.requestExit') },
    { label: 'In front?', run: () => call('application.isForeground') },
    { label: 'Cover size', run: () => call('application.coverSize') },
  ]],
  ['Device', [
    { label: 'Screen locked?', run: () => call('application.isDeviceLocked') },
    { label: 'Lock rotation', run: () => call('application.lockRotation') },
    { label: 'Unlock rotation', run: () => call('application.unlockRotation') },
    { label: 'Turn', fields: ['left_up'], run: (way) => call('application.rotate', way) },
  ]],
  ['Set on the device, where its configuration allows it', [
    { label: 'Volume', fields: ['40'], run: (level) => setOn('audio', { volume: Number(level) }) },
    { label: 'Mute', run: () => setOn('audio', { muted: true }) },
    { label: 'Unmute', run: () => setOn('audio', { muted: false }) },
    { label: 'Brightness', fields: ['60'], run: (level) => setOn('display', { brightness: Number(level) }) },
    { label: 'Wi-Fi on', run: () => setOn('network', { wifi: true }) },
    { label: 'Wi-Fi off', run: () => setOn('network', { wifi: false }) },
  ]],
  ['Names', [
    { label: 'Variable', fields: ['HOME'], run: (name) => call('application.getenv', name) },
    { label: 'Real path', fields: ['/proc/self/exe'], run: (path) => call('application.realpath', path) },
    { label: 'Registered domain', fields: ['www.example.co.uk'], run: (host) => call('application.getRegisteredDomain', host) },
  ]],
  ['Other applications', [
    { label: 'Who opens', fields: ['https://example.org/'], run: (where) => call('invocation.queryTargets', nextId(), request(where)) },
    { label: 'Open with it', fields: ['https://example.org/'], run: (where) => call('invocation.invoke', nextId(), request(where)) },
    { label: 'Open a viewer', fields: ['viewer', 'https://example.org/'], run: (name, where) => call('invocation.invokeViewer', nextId(), name, request(where)) },
    { label: 'Send it', fields: ['viewer', 'Hello'], run: (name, text) => call('invocation.viewerRelay', name, text) },
    { label: 'Close it', fields: ['viewer'], run: (name) => call('invocation.closeViewer', name) },
  ]],
];

const time = (date) => date.toLocaleTimeString([], { hour12: false });
const LOCKED = { true: 'locked', false: 'unlocked', unknown: 'nobody can tell' };

export class PlatformPanel extends Panel {
  #platform;
  #state = make('div');
  #device = make('div', { 'aria-label': 'The device' });
  #last = make('ol', { className: 'notifications', 'aria-label': 'Notifications' });
  #result = make('output', { className: 'result', 'aria-live': 'polite' });
  #calledAt = 0;

  constructor(platform) {
    super('platform-panel', 'Platform');
    this.#platform = platform;
    this.body.append(this.#state, make('h3', { textContent: 'The device' }), this.#device, ...TRIES.map(([title, tries]) => this.#makeGroup(title, tries)), this.#result,
      make('h3', { textContent: 'Last notifications' }), this.#last,
      make('p', { className: 'note', textContent: 'pagehost-ctl raises any of them, and shows with --watch what is asked for.' }));
    platform.addEventListener('change', () => this.#show());
    device.addEventListener('change', () => this.#showDevice());
    on('errors', ({ text }) => {
      if (this.isOpen && performance.now() - this.#calledAt < ERROR_BELONGS_FOR) this.#result.textContent = text;
    });
  }

  draw() {
    this.#platform.ask();
    device.open();
    this.#show();
    this.#showDevice();
  }

  #makeGroup(title, tries) {
    return make('fieldset', { className: 'tries' }, make('legend', { textContent: title }), ...tries.map((each) => this.#makeTry(each)));
  }

  #makeTry({ label, fields = [], run }) {
    const inputs = fields.map((value, index) => make('input', { value, spellcheck: false, 'aria-label': `${label}, ${index + 1}` }));
    const form = make('form', { className: 'try', autocomplete: 'off' }, make('button', { textContent: label }), ...inputs);
    if (!inputs.length) form.classList.add('bare');
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#calledAt = performance.now();
      this.#result.textContent = '';
      const text = run(...inputs.map((input) => input.value));
      // An error may have occurred in the meantime.
      this.#result.textContent ||= text || 'Done; an answer comes as a notification, if there is one.';
    });
    return form;
  }

  #showDevice() {
    if (!this.isOpen) return;
    const facts = factsOf(device.state);
    this.#device.replaceChildren(facts.some(([, text]) => text) ? makeFacts(facts)
      : make('p', { className: 'note', textContent: 'Nothing is known: pagehost-device is not running.' }));
  }

  #show() {
    if (!this.isOpen) return;
    const { window, active, locked, rotation, language, region, font, lowMemory } = this.#platform.state;
    this.#state.replaceChildren(makeFacts([
      ['Window', `${window}, ${active ? 'has the keyboard' : 'without the keyboard'}`],
      ['Screen', LOCKED[locked] ?? locked],
      ['Rotation', rotation],
      ['Region', [region, language].filter(Boolean).join(', language ')],
      ['Font', font && `${font.family}, ${font.pixels} pixels`],
      ['Memory', lowMemory ? `was short at ${time(lowMemory)}` : 'was never short'],
    ]));
    this.#last.replaceChildren(...this.#platform.last.map(({ at, name, args }) => make('li', {},
      make('time', { textContent: time(at) }), make('code', { textContent: `${name}(${args.join(', ')})` }))));
  }
}
