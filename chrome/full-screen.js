/** Pages and the window that cover the screen: the way back is told while it is needed. */

import { make } from './dom.js';
import { call, isHosted } from './pagehost.js';
import { t } from './words.js';

const SHOWN_FOR = 4000;

export class FullScreenHint {
  #hint = make('div', { className: 'popup full-screen-hint', role: 'status' });
  #timer = 0;

  /** @param {import('./cutouts.js').Cutouts} cutouts */
  constructor(tabs, cutouts) {
    let covering = null;
    tabs.addEventListener('change', ({ detail: tab }) => {
      const now = tab.fullScreen ? tab : null;
      if (now === covering) return;
      covering = now;
      this.#hide(cutouts);
      // After the page has been laid over everything.
      if (now) setTimeout(() => tab.fullScreen && tab === tabs.active && this.#show(cutouts));
    });
  }

  #show(cutouts) {
    this.#hint.textContent = t('The page covers everything. Esc brings the window back.');
    document.body.append(this.#hint);
    cutouts.add(this.#hint);
    this.#timer = setTimeout(() => this.#hide(cutouts), SHOWN_FOR);
  }

  #hide(cutouts) {
    clearTimeout(this.#timer);
    if (!this.#hint.isConnected) return;
    cutouts.remove(this.#hint);
    this.#hint.remove();
  }
}

/** The window over the screen, or as before. */
export function toggleWindowFullScreen(platform) {
  if (isHosted()) call('applicationWindow.setState', platform.state.window === 'fullscreen' ? 'normal' : 'fullscreen');
}
