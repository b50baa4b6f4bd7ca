/**
 * What sites may use that is not their own, as a person has decided: remembered per origin, in the
 * store, and for private tabs until the last of them closes. Reports "change".
 */

import { t } from './words.js';

/**
 * Per permission: what is asked for, in which event, and how the host learns the answer.
 * @type {Record<string, {label: string, wish: string, event?: string, is?: (event: object) => boolean, answer?: (view: object, event: object, allowed: boolean) => void}>}
 */
const answerMedia = (view, { id }, allowed) => view.setAllowUserMedia(id, allowed ? 'default' : '');
export const PERMISSIONS = {
  geolocation: {
    label: t('Where you are'),
    wish: t('know where you are'),
    event: 'GeolocationPermissionRequest',
    answer: (view, { origin }, allowed) => view.setAllowGeolocation(origin, allowed),
  },
  notification: {
    label: t('Notifications'),
    wish: t('show notifications'),
    event: 'NotificationPermissionRequest',
    answer: (view, { origin }, allowed) => view.setAllowNotification(origin, allowed),
  },
  // A device name grants access; none denies it.
  camera: { label: t('Camera'), wish: t('use your camera'), event: 'UserMediaRequest', is: ({ cameras }) => cameras?.length > 0, answer: answerMedia },
  // Decided by the chrome itself, which opens the windows.
  popups: { label: t('Windows'), wish: t('open windows') },
  microphone: { label: t('Microphone'), wish: t('use your microphone'), event: 'UserMediaRequest', is: ({ cameras }) => !cameras?.length, answer: answerMedia },
};

export const PERMISSION_EVENTS = [...new Set(Object.values(PERMISSIONS).map(({ event }) => event).filter(Boolean))];

/** @returns {string} the name of the permission that the event asks for */
export function permissionOf(event, data) {
  return Object.keys(PERMISSIONS).find((name) => PERMISSIONS[name].event === event && (PERMISSIONS[name].is?.(data) ?? true));
}

/** A site that asks for ever new names must not fill the store; the oldest decision goes. */
const MOST_ORIGINS = 500;

export class Permissions extends EventTarget {
  #tabs;
  #store;
  /** Those of private tabs. */
  #passing = {};

  /** @param {{get: (name: string) => any, set: (name: string, value: any) => void}} store */
  constructor(tabs, store) {
    super();
    this.#tabs = tabs;
    this.#store = store;
    tabs.addEventListener('closed', () => {
      if (!tabs.list.some(({ isPrivate }) => isPrivate)) this.#passing = {};
    });
  }

  /** @returns {Record<string, Record<string, boolean>>} by origin and permission */
  all(isPrivate) {
    return isPrivate ? this.#passing : this.#store.get('permissions') ?? {};
  }

  /** @returns {boolean|undefined} undefined when nobody has decided */
  decided(isPrivate, origin, name) {
    const all = this.all(isPrivate);
    return Object.hasOwn(all, origin) ? all[origin][name] : undefined;
  }

  /** @param {boolean|undefined} allowed  undefined: the next time it is asked again */
  decide(isPrivate, origin, name, allowed) {
    if (!origin) return;
    const { [origin]: before = {}, ...others } = this.all(isPrivate);
    const { [name]: _, ...rest } = before;
    const now = allowed === undefined ? rest : { ...rest, [name]: allowed };
    const all = Object.keys(now).length ? [...Object.entries(others), [origin, now]] : Object.entries(others);
    this.#keep(isPrivate, Object.fromEntries(all.slice(-MOST_ORIGINS)));
  }

  forgetAll(isPrivate) {
    this.#keep(isPrivate, {});
  }

  #keep(isPrivate, all) {
    if (isPrivate) this.#passing = all;
    else this.#store.set('permissions', all);
    this.dispatchEvent(new Event('change'));
  }
}
