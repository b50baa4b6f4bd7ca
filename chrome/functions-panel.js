/** A panel that lists every native function of this host and calls them. */

import { make } from './dom.js';
import { call, listBindings, on } from './pagehost.js';
import { Panel } from './panel.js';

/** Error texts come by a call of their own, shortly after the call they belong to. */
const ERROR_BELONGS_FOR = 500;
const KEPT_RESULTS = 20;

const MARKUP = `
  <input id="fn-filter" type="search" aria-label="Filter functions" placeholder="Filter, for example webview title" spellcheck="false">
  <div id="fn-list"></div>
  <p id="fn-none" hidden>No function matches.</p>
  <form id="fn-call" hidden>
    <h3 id="fn-name"></h3>
    <div id="fn-args"></div>
    <div class="row">
      <button type="button" id="fn-add">Add argument</button>
      <button type="button" id="fn-remove">Remove</button>
      <button class="primary">Call</button>
    </div>
    <ol id="fn-results" aria-label="Results" aria-live="polite"></ol>
  </form>`;

export class FunctionsPanel extends Panel {
  #currentHandle;
  #lastCall = null;

  /** @param {() => number} currentHandle */
  constructor(currentHandle) {
    super('panel', 'Native functions');
    this.#currentHandle = currentHandle;
    this.element.querySelector('h2').append(' ', make('span', { id: 'fn-count' }));
    this.body.innerHTML = MARKUP;
    this.body.replaceWith(...this.body.children);
    this.#connect();
    on('errors', ({ text }) => this.#onError(text));
  }

  get first() {
    return this.#get('filter');
  }

  #get(id) {
    return this.element.querySelector(`#fn-${id}`);
  }

  #connect() {
    this.#get('filter').addEventListener('input', () => this.#filter());
    this.#get('add').addEventListener('click', () => this.#addArgument().focus());
    this.#get('remove').addEventListener('click', () => this.#get('args').lastElementChild?.remove());
    this.#get('list').addEventListener('click', (event) => {
      const name = event.target.closest('button')?.value;
      if (name) this.#choose(name);
    });
    this.#get('call').addEventListener('submit', (event) => {
      event.preventDefault();
      this.#call();
    });
  }

  /** Functions may be registered at any time: they are asked for at every opening. */
  draw() {
    const groups = new Map();
    const names = listBindings();
    for (const name of names) {
      const space = name.slice(0, name.indexOf('.'));
      groups.set(space, [...(groups.get(space) ?? []), name]);
    }
    this.#get('count').textContent = names.length;
    this.#get('list').replaceChildren(...[...groups].map(([space, members]) => {
      const group = document.createElement('details');
      group.open = true;
      group.append(Object.assign(document.createElement('summary'), { textContent: space }));
      for (const name of members) {
        group.append(Object.assign(document.createElement('button'), {
          type: 'button', value: name, textContent: name.slice(space.length + 1),
        }));
      }
      return group;
    }));
    this.#filter();
  }

  #filter() {
    const words = this.#get('filter').value.toLowerCase().split(/\s+/).filter(Boolean);
    let any = false;
    for (const group of this.#get('list').children) {
      let shown = false;
      for (const button of group.querySelectorAll('button')) {
        const name = button.value.toLowerCase();
        button.hidden = !words.every((word) => name.includes(word));
        shown ||= !button.hidden;
      }
      group.hidden = !shown;
      if (shown && words.length) group.open = true;
      any ||= shown;
    }
    this.#get('none').hidden = any;
  }

  #choose(name) {
    for (const button of this.#get('list').querySelectorAll('button')) {
      if (button.value === name) button.setAttribute('aria-current', 'true');
      else button.removeAttribute('aria-current');
    }
    this.#get('call').hidden = false;
    this.#get('name').textContent = name;
    this.#get('args').replaceChildren();
    const takesHandle = name.startsWith('webview.') && name !== 'webview.create';
    if (takesHandle) this.#addArgument(this.#currentHandle());
  }

  #addArgument(value = '') {
    const number = this.#get('args').children.length + 1;
    const input = Object.assign(document.createElement('input'), { value, placeholder: `Argument ${number}`, spellcheck: false });
    input.setAttribute('aria-label', input.placeholder);
    this.#get('args').append(input);
    return input;
  }

  #call() {
    const name = this.#get('name').textContent;
    const args = [...this.#get('args').children].map((input) => input.value);
    const entry = document.createElement('li');
    const result = document.createElement('output');
    entry.append(Object.assign(document.createElement('code'), { textContent: `${name}(${args.join(', ')})` }), result);
    this.#get('results').prepend(entry);
    this.#get('results').children[KEPT_RESULTS]?.remove();

    this.#lastCall = { entry, result, at: performance.now() };
    const text = call(name, ...args);
    if (entry.classList.contains('failed')) return;
    result.textContent = pretty(text) || '(empty)';
    entry.classList.toggle('empty', !text);
  }

  #onError(text) {
    const last = this.#lastCall;
    if (!this.isOpen || !last || performance.now() - last.at > ERROR_BELONGS_FOR) return;
    last.entry.classList.add('failed');
    last.result.textContent = text;
  }
}

function pretty(text) {
  if (!/^[{[]/.test(text)) return text;
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text;
  }
}
