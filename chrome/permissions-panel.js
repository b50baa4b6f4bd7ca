/** What was decided about sites: a panel that lists it by origin, and changes it. */

import { placeOf } from './address.js';
import { make } from './dom.js';
import { Panel } from './panel.js';
import { PERMISSIONS } from './permissions.js';
import { t } from './words.js';

const CHOICES = [[t('Allow'), true], [t('Don’t allow'), false], [t('Ask'), undefined]];

export class PermissionsPanel extends Panel {
  #tabs;
  #permissions;
  #list = make('ul', { className: 'rows' });
  #note = make('p', { className: 'note' });
  #forget = make('button', { type: 'button', className: 'text', textContent: t('Forget all') });
  #isPrivate = null;

  constructor(tabs, permissions) {
    super('permissions-panel', t('Site permissions'));
    this.#tabs = tabs;
    this.#permissions = permissions;
    this.#forget.addEventListener('click', () => permissions.forgetAll(tabs.active.isPrivate));
    this.body.append(this.#note, this.#list, this.#forget);
    permissions.addEventListener('change', () => this.refresh());
    tabs.addEventListener('change', ({ detail: tab }) => tab.isPrivate !== this.#isPrivate && this.refresh());
  }

  draw() {
    const { isPrivate } = this.#tabs.active;
    this.#isPrivate = isPrivate;
    const all = Object.entries(this.#permissions.all(isPrivate)).sort(([a], [b]) => (a < b ? -1 : 1));
    const whose = isPrivate ? t('For private tabs, until the last of them closes.') : t('They count from the next time that the site asks.');
    this.#note.textContent = all.length ? whose : t('Nothing has been decided about any site.');
    this.#forget.hidden = !all.length;
    this.#list.replaceChildren(...all.flatMap(([origin, decisions]) => Object.keys(decisions).map((name) => this.#makeRow(isPrivate, origin, name, decisions[name]))));
  }

  #makeRow(isPrivate, origin, name, allowed) {
    const { label } = PERMISSIONS[name] ?? { label: name };
    const select = make('select', { 'aria-label': `${label}, ${placeOf(origin)}` },
      ...CHOICES.map(([text, value]) => make('option', { textContent: text, selected: value === allowed })));
    select.addEventListener('change', () => this.#permissions.decide(isPrivate, origin, name, CHOICES[select.selectedIndex][1]));
    return make('li', { className: 'setting' }, make('div', {}, make('b', { textContent: placeOf(origin) }), make('small', { textContent: label })), select);
  }
}
