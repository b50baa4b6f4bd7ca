/** Objects that programs share: one of them live, its attributes to be edited. And analytics. */

import { AnalyticsForm } from './analytics.js';
import { make } from './dom.js';
import { Panel } from './panel.js';
import { SharedObject, textOfValue, valueOfText } from './pps.js';

const KEPT_EVENTS = 8;

export class ObjectsPanel extends Panel {
  #object = null;
  /** By the names of attributes. */
  #rows = new Map();
  #path = make('input', { value: 'demo/status', placeholder: 'Path', spellcheck: false, 'aria-label': 'Path of the object' });
  #open = make('button', { className: 'primary', textContent: 'Open' });
  #state = make('p', { className: 'note', role: 'status' });
  #list = make('ul', { className: 'rows attributes', 'aria-label': 'Attributes' });
  #name = make('input', { placeholder: 'New attribute', spellcheck: false, 'aria-label': 'Name of a new attribute' });
  #value = make('input', { placeholder: 'Value: text or JSON', spellcheck: false, 'aria-label': 'Its value' });
  #add = make('form', { className: 'row', autocomplete: 'off', hidden: true }, this.#name, this.#value, make('button', { textContent: 'Add' }));
  #events = make('ol', { className: 'log', 'aria-label': 'Events' });
  #analytics = new AnalyticsForm();

  constructor() {
    super('pps-panel', 'Shared objects');
    const opener = make('form', { className: 'row', autocomplete: 'off' }, this.#path, this.#open);
    opener.addEventListener('submit', (event) => {
      event.preventDefault();
      if (this.#object) this.#object.close();
      else this.#openObject();
    });
    this.#add.addEventListener('submit', (event) => {
      event.preventDefault();
      if (!this.#name.value || !this.#write(this.#name.value, valueOfText(this.#value.value))) return;
      for (const input of [this.#name, this.#value]) input.value = '';
      this.#name.focus();
    });
    this.body.append(opener, this.#state, this.#list, this.#add, this.#events, this.#analytics.element);
  }

  get first() {
    return this.#path;
  }

  draw() {
    const object = this.#object;
    this.#open.textContent = object ? 'Close' : 'Open';
    this.#path.disabled = this.#path.readOnly = Boolean(object);
    this.#add.hidden = !object;
    this.#drawAttributes(object?.attributes ?? {});
    this.#analytics.draw();
  }

  #openObject() {
    const object = new SharedObject(this.#path.value);
    this.#events.replaceChildren();
    object.addEventListener('event', ({ detail: { event, text = '' } }) => this.#log(event, text));
    object.addEventListener('change', () => this.#drawAttributes(object.attributes));
    object.addEventListener('failed', ({ detail }) => this.#say(detail, true));
    object.addEventListener('closed', () => {
      this.#object = null;
      this.#say('Closed.');
      this.refresh();
    });
    if (!object.open()) return this.#say('It could not be opened; the log tells why.', true);
    this.#object = object;
    this.#say(`${object.name} is live: what others write to its file is shown at once.`);
    return this.draw();
  }

  #write(name, value) {
    const written = this.#object.write({ [name]: value });
    if (written) this.#say('');
    return written;
  }

  #say(text, failed = false) {
    this.#state.textContent = text;
    this.#state.classList.toggle('problems', failed);
  }

  #log(event, text) {
    this.#events.prepend(make('li', { className: event.endsWith('Failed') ? 'failed' : '' }, make('b', { textContent: event }), ' ', make('code', { textContent: text })));
    this.#events.children[KEPT_EVENTS]?.remove();
  }

  #drawAttributes(attributes) {
    for (const [name, row] of this.#rows) {
      if (name in attributes) continue;
      row.root.remove();
      this.#rows.delete(name);
    }
    Object.entries(attributes).forEach(([name, value], index) => {
      const row = this.#rows.get(name) ?? this.#makeRow(name);
      row.value = value;
      // Do not change the text while it is being edited.
      if (row.input !== document.activeElement) row.input.value = textOfValue(value);
      row.kind.textContent = Array.isArray(value) ? 'array' : value === null ? 'null' : typeof value;
      if (this.#list.children[index] !== row.root) this.#list.insertBefore(row.root, this.#list.children[index] ?? null);
    });
  }

  #makeRow(name) {
    const input = make('input', { spellcheck: false, 'aria-label': name });
    const kind = make('small');
    const remove = make('button', { type: 'button', className: 'icon', 'aria-label': `Remove ${name}`, title: 'Remove' });
    remove.innerHTML = '<svg><use href="#i-close"/></svg>';
    const row = { input, kind, value: undefined, root: make('li', {}, make('label', {}, make('b', { textContent: name }), kind), input, remove) };
    input.addEventListener('change', () => {
      // Do not show a value that could not be written.
      if (!this.#write(name, valueOfText(input.value, row.value))) input.value = textOfValue(row.value);
    });
    input.addEventListener('blur', () => { input.value = textOfValue(row.value); });
    input.addEventListener('keydown', (event) => event.key === 'Enter' && input.blur());
    remove.addEventListener('click', () => this.#write(name, null));
    this.#rows.set(name, row);
    return row;
  }
}
