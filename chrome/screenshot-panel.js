/** A picture of the whole page, to look at, keep and copy. */

import { labelFor } from './address.js';
import { make } from './dom.js';
import { fileNameFor, sizeText } from './downloads.js';
import { Panel } from './panel.js';
import { showToast } from './toast.js';
import { t } from './words.js';

export class ScreenshotPanel extends Panel {
  #tabs;
  #image = make('img', { alt: t('The page') });
  #state = make('p', { className: 'note', role: 'status' });
  #save = make('button', { type: 'button', className: 'primary', textContent: t('Save') });
  #copy = make('button', { type: 'button', textContent: t('Copy') });
  #again = make('button', { type: 'button', textContent: t('Take again') });
  /** What is shown, and of which tab. */
  #taken = null;

  constructor(tabs, downloads) {
    super('screenshot-panel', t('Picture of the page'));
    this.#tabs = tabs;
    this.body.append(
      make('div', { className: 'row' }, this.#again, this.#copy, this.#save),
      this.#state,
      make('div', { className: 'picture' }, this.#image),
    );
    this.#again.addEventListener('click', () => this.#take());
    this.#copy.addEventListener('click', () => this.#copyPicture());
    this.#save.addEventListener('click', () => {
      const { view, source, title } = this.#taken;
      // Downloaded by its tab, so that it is listed like other downloads.
      view.downloadUrl(source, downloads.nameFor(`${fileNameFor(title)}.png`), 0);
    });
    for (const end of ['crashed', 'closed']) tabs.addEventListener(end, ({ detail: tab }) => tab === this.#taken?.tab && this.#show(null));
    this.#show(null);
  }

  draw() {
    this.#take();
  }

  async #take() {
    const tab = this.#tabs.active;
    if (!tab.ready) return this.#show(null, t('There is no page.'));
    this.#show(null, t('Drawing…'));
    const { view } = tab;
    const source = await view.capture().catch(() => '');
    if (!this.isOpen) return undefined;
    if (!source || tab.view !== view) return this.#show(null, t('The page could not be drawn.'));
    this.#image.src = source;
    await this.#image.decode().catch(() => {});
    const { naturalWidth: width, naturalHeight: height } = this.#image;
    // Created ahead: the clipboard needs it synchronously in the click handler.
    const blob = await (await fetch(source)).blob();
    return this.#show({ tab, view, source, blob, title: tab.title || labelFor(tab.url) }, t('{width} × {height} pixels, {size}', { width, height, size: sizeText(blob.size) }));
  }

  #show(taken, state = '') {
    this.#taken = taken;
    this.#state.textContent = state;
    this.#image.hidden = !taken;
    if (!taken) this.#image.removeAttribute('src');
    this.#save.disabled = this.#copy.disabled = !taken;
  }

  async #copyPicture() {
    try {
      await navigator.clipboard.write([new ClipboardItem({ 'image/png': this.#taken.blob })]);
      this.#state.textContent = t('Copied');
    } catch (error) {
      showToast(t('The picture could not be copied: {error}', { error: error.message }));
    }
  }
}
