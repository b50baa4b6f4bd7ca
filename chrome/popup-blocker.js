/** Windows that pages open without a click: they are asked about, site by site. */

import { mayLead, placeOf } from './address.js';
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
      const { url: from } = opener;
      const origin = originOf(from);
      if (!isPopup || permissions.decided(opener.isPrivate, origin, 'popups')) return true;
      if (permissions.decided(opener.isPrivate, origin, 'popups') === false || asked.has(opener)) return false;
      asked.add(opener);
      infobar.ask(opener, {
        text: t('{place} wanted to open a window.', { place: placeOf(from) }),
        allow: t('Allow'),
        deny: t('Don’t allow'),
        answer: (allowed) => {
          asked.delete(opener);
          permissions.decide(opener.isPrivate, origin, 'popups', allowed);
          if (allowed && mayLead(from, url)) tabs.open(url, opener.process, { isPrivate: opener.isPrivate, beside: opener });
        },
        drop: () => asked.delete(opener),
      });
      return false;
    };
  }
}
