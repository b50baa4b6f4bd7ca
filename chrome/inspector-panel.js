/** The web inspector: switches its server, shows where a browser finds it, and which pages may be inspected. */

import { make } from './dom.js';
import { call, WebView } from './pagehost.js';
import { Panel } from './panel.js';
import { t } from './words.js';

export const isOn = () => call('webInspector.enabled') === 'true';
export const address = () => `http://127.0.0.1:${call('webInspector.port')}/`;

export class InspectorPanel extends Panel {
  #tabs;
  #switch = make('button', { type: 'button', className: 'primary' });
  #open = make('button', { type: 'button', textContent: t('Open here') });
  #about = make('p', { className: 'note', role: 'status' });
  #address = make('code');
  #list = make('ul', { className: 'rows' });

  constructor(tabs) {
    super('inspector-panel', t('Web inspector'));
    this.#tabs = tabs;
    this.#switch.addEventListener('click', () => {
      call('webInspector.setEnabled', !isOn());
      this.draw();
    });
    this.#open.addEventListener('click', () => this.#tabs.open(address()));
    this.body.append(
      make('div', { className: 'row' }, this.#open, this.#switch),
      this.#about,
      make('p', { className: 'inspector-address' }, this.#address),
      make('h3', { textContent: t('Pages that may be inspected') }), this.#list,
    );
    for (const happened of ['change', 'closed', 'crashed']) tabs.addEventListener(happened, () => this.refresh());
  }

  get first() {
    return this.#switch;
  }

  draw() {
    const on = isOn();
    this.#switch.textContent = on ? t('Stop') : t('Start');
    this.#open.hidden = !on;
    this.#about.textContent = on
      ? t('Open this address in a browser on this machine. Your other programs can reach it: stop it when you are done.')
      : t('Look into the pages of this program, and into this chrome, with a browser on this machine.');
    this.#address.textContent = on ? address() : '';
    this.#list.replaceChildren(
      this.#makePage(WebView.root.handle, t('The chrome')),
      ...this.#tabs.list.filter(({ ready }) => ready).map(({ view, title, url }) => this.#makePage(view.handle, title || url)),
    );
  }

  #makePage(handle, name) {
    const box = make('input', { type: 'checkbox', checked: call('webInspector.enabledForWebView', handle) === 'true' });
    box.addEventListener('change', () => call('webInspector.setEnabledForWebView', handle, box.checked));
    return make('li', {}, make('label', { className: 'setting flag' }, make('span', { textContent: name }), box));
  }
}
