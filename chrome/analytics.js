/** The analytics functions, to be tried: a form that calls them and says what came of it. */

import { make } from './dom.js';
import { call } from './pagehost.js';

const KEPT_RESULTS = 8;

const CODES = {
  0: 'done',
  1: 'yes',
  '-1': 'begin first',
  '-2': 'something is missing or wrong',
  '-3': 'there are no keys',
  '-4': 'analytics are off',
  '-5': 'the file could not be written',
  '-6': 'too long, or too many',
};

/** What can have happened; those with a text say what about. */
const EVENTS = [
  { name: 'onApplicationStart' },
  { name: 'onApplicationEnd' },
  { name: 'onApplicationForeground' },
  { name: 'onApplicationBackground' },
  { name: 'onApplicationError' },
  { name: 'onButtonClick' },
  { name: 'onContentView' },
  { name: 'onSearchEvent', takesText: true },
  { name: 'onActivityStart', takesText: true },
  { name: 'onActivityEnd', takesText: true },
  { name: 'onActivityPause', takesText: true },
  { name: 'onAdClickEvent', takesText: true },
  { name: 'onConversionEvent', takesText: true },
  { name: 'onCustomEvent', takesText: true, needsText: true },
];

/** What a call has answered, for people. */
export const resultText = (name, result) => (name === 'init' && result === '0' ? 'no' : CODES[result] ?? result);

export class AnalyticsForm {
  element = make('section', { className: 'analytics' }, make('h3', { textContent: 'Analytics' }),
    make('p', { className: 'note', textContent: 'Events become lines of the file that TESSEL_CCL_FILE names, and nothing if it names none.' }));
  #hasKeys = false;
  #on = make('input', { type: 'checkbox' });
  #results = make('ol', { className: 'log', 'aria-label': 'Results', 'aria-live': 'polite' });

  constructor() {
    const field = (label, value = '') => make('input', { value, placeholder: label, spellcheck: false, 'aria-label': label });
    const [application, version] = [field('Application', 'pagehost'), field('Version', '1')];
    const [key, value] = [field('Key'), field('Value')];
    const event = make('select', { 'aria-label': 'Event' }, ...EVENTS.map(({ name }) => make('option', { value: name, textContent: name })));
    const text = field('Text');
    const chosen = () => EVENTS.find(({ name }) => name === event.value);
    const showText = () => { text.disabled = !chosen().takesText; };
    event.addEventListener('change', showText);
    showText();
    this.#on.addEventListener('change', () => this.#call('setCCLEnabled', this.#on.checked));
    this.element.append(
      this.#makeRow([application, version], 'Begin', () => this.#call('init', application.value, version.value)),
      make('label', { className: 'setting flag' }, make('span', { textContent: 'Remember events' }), this.#on),
      this.#makeRow([key, value], 'Add key', () => {
        // Starting again would make the host forget the others.
        if (!this.#hasKeys) call('ccl.eventKeysCreate');
        this.#hasKeys = true;
        this.#call('eventKeysAdd', key.value, value.value);
      }),
      this.#makeRow([event, text], 'Tell', () => {
        const { name, takesText, needsText } = chosen();
        this.#call(name, ...(takesText && (needsText || text.value) ? [text.value] : []));
      }),
      this.#makeRow([], 'Forget keys', () => {
        this.#hasKeys = false;
        this.#call('eventKeysDelete');
      }),
      this.#results,
    );
  }

  draw() {
    this.#on.checked = call('ccl.isCCLEnabled') === '1';
  }

  #makeRow(fields, label, run) {
    const row = make('form', { className: 'row', autocomplete: 'off' }, ...fields, make('button', { textContent: label }));
    row.addEventListener('submit', (event) => {
      event.preventDefault();
      run();
    });
    return row;
  }

  #call(name, ...args) {
    const result = call(`ccl.${name}`, ...args);
    this.#results.prepend(make('li', { className: result.startsWith('-') ? 'failed' : '' },
      make('code', { textContent: `${name}(${args.join(', ')})` }), result === '' ? '' : ` ${result}: ${resultText(name, result)}`));
    this.#results.children[KEPT_RESULTS]?.remove();
    this.draw();
  }
}
