/** The log-ins that are saved: forget one, or all. Their passwords stay where they are. */

import { placeOf } from './address.js';
import { make } from './dom.js';
import { forgetLogin, savedLogins } from './forms.js';
import { focus } from './keyboard.js';
import { WebView } from './pagehost.js';
import { Panel } from './panel.js';
import { t } from './words.js';

/** Log-ins of servers have the realm behind the origin. */
export function wordsOf({ place, username }) {
  const [origin, ...realm] = place.split(' ');
  return { title: placeOf(origin), name: username || 'no name', realm: realm.join(' ') };
}

export class LoginsPanel extends Panel {
  #list = make('ul', { className: 'rows' });
  #all = make('button', { type: 'button', className: 'text', textContent: t('Forget all') });
  #texts = make('button', { type: 'button', className: 'text', textContent: t('Forget texts of forms') });
  #state = make('p', { className: 'note', role: 'status' });

  constructor() {
    super('logins-panel', t('Saved log-ins'));
    this.#all.addEventListener('click', () => {
      WebView.root.clearCredentials();
      this.draw();
      focus(this.close);
    });
    this.#texts.addEventListener('click', () => {
      WebView.root.clearAutofillData();
      this.#state.textContent = t('What was typed into forms is forgotten.');
    });
    this.body.append(
      make('p', { className: 'note', textContent: t('Kept in a file that only you can read; it is not encrypted.') }),
      this.#list, this.#all, this.#texts, this.#state,
    );
  }

  draw() {
    this.#state.textContent = '';
    const logins = savedLogins();
    this.#all.disabled = !logins.length;
    this.#list.replaceChildren(...logins.map((login) => this.#makeRow(login)));
    if (!logins.length) this.#list.append(make('li', { className: 'note', textContent: t('None.') }));
  }

  #makeRow(login) {
    const { title, name, realm } = wordsOf(login);
    const button = make('button', { type: 'button', className: 'text', textContent: t('Forget'), 'aria-label': t('Forget {name} at {place}', { name, place: title }) });
    button.addEventListener('click', () => {
      forgetLogin(login);
      this.draw();
      focus(this.close);
    });
    return make('li', {}, make('div', {}, make('b', { textContent: title }), make('small', { textContent: realm ? `${name} · ${realm}` : name })), button);
  }
}
