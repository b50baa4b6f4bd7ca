/** The settings of the current tab, and of those to come. */

import { make } from './dom.js';
import { Panel } from './panel.js';
import { PREFERENCES } from './preferences.js';
import { colorText, SETTING_GROUPS, SETTINGS, valueOf } from './settings.js';
import { t } from './words.js';

const INPUTS = {
  flag: () => ({ type: 'checkbox' }),
  number: ({ range: [min, max] }) => ({ type: 'number', min, max }),
  color: () => ({ type: 'color' }),
  text: ({ empty }) => ({ type: 'text', placeholder: empty ?? '', spellcheck: false }),
};

export class SettingsPanel extends Panel {
  #preferences;
  #tabs;
  #settings;
  #inputs = new Map();
  /** What is shown; null while the tab's view takes no commands. */
  #view = null;
  /** Views whose changes are reported: enabled only for those that were looked at. */
  #followed = new WeakSet();

  /** @param {import('./preferences.js').Preferences} preferences */
  constructor(tabs, settings, preferences) {
    super('settings-panel', t('Settings'));
    this.#preferences = preferences;
    this.#tabs = tabs;
    this.#settings = settings;
    this.#build();
    tabs.addEventListener('change', ({ detail: { ready, view } }) => (ready ? view : null) !== this.#view && this.refresh());
  }

  draw() {
    const { ready, view } = this.#tabs.active;
    this.#view = ready ? view : null;
    if (this.#view) this.#follow(this.#view);
    for (const [setting, input] of this.#inputs) this.#fill(setting, input, this.#view);
  }

  #build() {
    this.body.append(this.#makePreferences());
    for (const [title, settings] of SETTING_GROUPS) {
      this.body.append(make('fieldset', { className: 'settings' }, make('legend', { textContent: title }),
        ...settings.map((setting) => this.#makeRow(setting))));
    }
    const reset = make('button', { type: 'button', className: 'text', textContent: t('Back to the standard') });
    reset.addEventListener('click', () => {
      this.#settings.reset(this.#view);
      this.draw();
    });
    this.body.append(make('p', { className: 'note', textContent: t('Changes are for this tab and for tabs opened later. Some show only when the page is loaded again.') }), reset);
  }

  /** Of the program itself; each counts at once, or at the next start of the chrome, which can be had at once too. */
  #makePreferences() {
    const restart = make('button', { type: 'button', className: 'text', textContent: t('Show it now'), hidden: true });
    restart.addEventListener('click', () => location.reload());
    return make('fieldset', { className: 'settings' }, make('legend', { textContent: t('The program') }), ...PREFERENCES.map((each) => {
      const { name, kind, label, empty, choices, restarts } = each;
      const value = this.#preferences.get(name);
      const input = kind === 'choice'
        ? make('select', {}, ...choices.map(([of, text]) => make('option', { value: of, textContent: text, selected: of === value })))
        : make('input', kind === 'flag' ? { type: 'checkbox', checked: value } : { type: 'text', value, placeholder: empty, spellcheck: false });
      input.addEventListener('change', () => {
        this.#preferences.set(name, kind === 'flag' ? input.checked : input.value.trim());
        if (restarts) restart.hidden = false;
      });
      return make('label', { className: `setting ${kind}` }, make('span', { textContent: label }), input);
    }), restart);
  }

  #makeRow(setting) {
    const input = make('input', INPUTS[setting.kind](setting));
    this.#inputs.set(setting, input);
    input.addEventListener('change', () => this.#onInput(setting, input));
    const row = make('label', { className: `setting ${setting.kind}` }, make('span', { textContent: setting.label }), input);
    if (!setting.choices) return row;
    const list = make('datalist', { id: `choices-${setting.name}` }, ...setting.choices.map((value) => make('option', { value })));
    input.setAttribute('list', list.id);
    row.append(list);
    return row;
  }

  #onInput(setting, input) {
    const value = valueOf(setting, setting.kind === 'flag' ? input.checked : input.value);
    if (value !== null) this.#settings.choose(this.#view, setting, value);
    // The value as normalised by the host, or the previous one.
    this.#fill(setting, input, this.#view);
  }

  #follow(view) {
    if (this.#followed.has(view)) return;
    this.#followed.add(view);
    for (const setting of SETTINGS.filter(({ later }) => !later)) {
      view.onProperty(setting.name, () => {
        const input = this.#inputs.get(setting);
        // Do not change the text while it is being edited.
        if (view === this.#view && input !== document.activeElement) this.#fill(setting, input, view);
      });
    }
  }

  #fill(setting, input, view) {
    input.disabled = !view && !setting.later;
    if (input.disabled) return;
    const value = this.#settings.read(view, setting);
    if (setting.kind === 'flag') input.checked = (value === '1') !== Boolean(setting.inverse);
    else input.value = setting.kind === 'color' ? colorText(value) : value;
  }
}
