/** Windows that pages open without a click: they are asked about, site by site. */

import { placeOf } from './address.js';
import { t } from './words.js';

function originOf(url) {
  try {
    return new URL(url).origin;
  } catch {
    return '';
  }
}

export class PopupBlocker {
  /**
   * @param {import('./infobar.js').Infobar} infobar
   * @param {import('./permissions.js').Permissions} permissions
   */
  constructor(tabs, infobar, permissions) {
    const asked = new WeakSet();
    tabs.letsOpen = (opener, { isPopup, url }) => {
      const origin = originOf(opener.url);
      if (!isPopup || permissions.decided(opener.isPrivate, origin, 'popups')) return true;
      if (permissions.decided(opener.isPrivate, origin, 'popups') === false || asked.has(opener)) return false;
      asked.add(opener);
      infobar.ask(opener, {
        text: t('{place} wanted to open a window.', { place: placeOf(opener.url) }),
        allow: t('Allow'),
        deny: t('Don’t allow'),
        answer: (allowed) => {
          asked.delete(opener);
          permissions.decide(opener.isPrivate, origin, 'popups', allowed);
          if (allowed && /^(https?|file|local):/.test(url)) tabs.open(url, opener.process, { isPrivate: opener.isPrivate, beside: opener });
        },
        drop: () => asked.delete(opener),
      });
      return false;
    };
  }
}
