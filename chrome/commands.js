/**
 * What the chrome does on a key or from a menu: one table, which the keyboard, the menus and the list of
 * keys are made from.
 */

import { isPage } from './address.js';
import { t } from './words.js';
import { zoomBy, zoomTo } from './zoom.js';

/**
 * @typedef {object} Command
 * @property {string} label
 * @property {string[]} [keys]        the first one is shown
 * @property {boolean} [isReserved]   pages never get the keys: they work while a page hangs
 * @property {() => void} run
 * @property {() => boolean} [isThere]
 */

/** @returns {Record<string, Command>} */
export function makeCommands({ tabs, panels, findBar, closing, address, bookmarks, openNewTab, openWindow, restore, canRestore, printPage, savePage, showSource, showFullScreen, moveFocus }) {
  const active = () => tabs.active;
  const at = (index) => () => tabs.list[index] && tabs.activate(tabs.list[index]);
  const isOfPage = () => isPage(active().url);
  return {
    newTab: { label: t('New tab'), keys: ['Ctrl+t'], isReserved: true, run: () => openNewTab() },
    newPrivateTab: { label: t('New private tab'), keys: ['Ctrl+Shift+n'], isReserved: true, run: () => openNewTab(undefined, true) },
    newTabIn: { label: t('New tab in a process…'), keys: ['Alt+t'], run: () => panels.newTab.toggle() },
    newWindow: { label: t('New window'), keys: ['Ctrl+n'], isReserved: true, run: () => openWindow() },
    closeTab: { label: t('Close tab'), keys: ['Ctrl+w', 'Ctrl+F4'], isReserved: true, run: () => closing.close(active()) },
    reopenTab: { label: t('Reopen closed tab'), keys: ['Ctrl+Shift+t'], isReserved: true, run: () => closing.reopen(), isThere: () => closing.closed.length > 0 },
    nextTab: { label: t('Next tab'), keys: ['Ctrl+Tab', 'Ctrl+PageDown'], isReserved: true, run: () => tabs.step(1) },
    previousTab: { label: t('Previous tab'), keys: ['Ctrl+Shift+Tab', 'Ctrl+PageUp'], isReserved: true, run: () => tabs.step(-1) },
    ...Object.fromEntries([1, 2, 3, 4, 5, 6, 7, 8].map((number) => [`tab${number}`, {
      label: t('Tab {number}', { number }), keys: [`Ctrl+${number}`], isReserved: true, run: at(number - 1),
    }])),
    lastTab: { label: t('Last tab'), keys: ['Ctrl+9'], isReserved: true, run: () => at(tabs.list.length - 1)() },
    address: { label: t('To the address'), keys: ['Ctrl+l', 'Alt+d', 'Ctrl+k'], isReserved: true, run: () => address.focus() },
    moveFocus: { label: t('To the next part of the window'), keys: ['F6'], isReserved: true, run: () => moveFocus() },
    menu: { label: t('Menu'), keys: ['Alt+m', 'F10'], isReserved: true, run: () => panels.menu.toggle() },
    fullScreen: { label: t('Full screen'), keys: ['F11'], isReserved: true, run: () => showFullScreen() },
    back: { label: t('Back'), keys: ['Alt+ArrowLeft'], run: () => active().goBack() },
    forward: { label: t('Forward'), keys: ['Alt+ArrowRight'], run: () => active().goForward() },
    reload: { label: t('Reload'), keys: ['Ctrl+r', 'F5'], run: () => active().reload() },
    stop: { label: t('Stop'), keys: ['Escape'], run: () => active().loading && active().stop() },
    find: { label: t('Find in page'), keys: ['Ctrl+f', 'F3'], run: () => findBar.open() },
    bookmark: { label: t('Bookmark this page'), keys: ['Ctrl+d'], run: () => bookmarks.toggle(active()), isThere: isOfPage },
    bookmarks: { label: t('Bookmarks'), keys: ['Ctrl+Shift+o'], run: () => panels.bookmarks.toggle() },
    history: { label: t('History'), keys: ['Ctrl+h'], run: () => panels.visited.toggle() },
    tabHistory: { label: t('History of this tab'), run: () => panels.history.open() },
    downloads: { label: t('Downloads'), keys: ['Ctrl+j'], run: () => panels.downloads.open() },
    restore: { label: t('Restore the last session'), run: restore, isThere: canRestore },
    print: { label: t('Print…'), keys: ['Ctrl+p'], run: () => printPage(active()), isThere: isOfPage },
    save: { label: t('Save page'), keys: ['Ctrl+s'], run: () => savePage(active()), isThere: isOfPage },
    source: { label: t('Source of the page'), keys: ['Ctrl+u'], run: () => showSource(active()), isThere: isOfPage },
    screenshot: { label: t('Picture of the page'), run: () => panels.screenshot.open() },
    pageInfo: { label: t('Page information'), run: () => panels.pageInfo.open() },
    larger: { label: t('Larger'), keys: ['Ctrl++', 'Ctrl+='], run: () => zoomBy(tabs, 1) },
    smaller: { label: t('Smaller'), keys: ['Ctrl+-'], run: () => zoomBy(tabs, -1) },
    actualSize: { label: t('Actual size'), keys: ['Ctrl+0'], run: () => zoomTo(tabs, 1) },
    logins: { label: t('Saved log-ins'), run: () => panels.logins.open() },
    permissions: { label: t('Site permissions'), run: () => panels.permissions.open() },
    blocker: { label: t('Blocked resources'), run: () => panels.blocker.open() },
    clear: { label: t('Clear data'), keys: ['Ctrl+Shift+Delete'], run: () => panels.siteData.toggle() },
    settings: { label: t('Settings'), keys: ['Ctrl+,'], run: () => panels.settings.toggle() },
    inspector: { label: t('Web inspector'), run: () => panels.inspector.open() },
    documentation: { label: t('Documentation'), run: () => tabs.open('local:///docs/index.html') },
    examples: { label: t('Examples'), run: () => panels.examples.open() },
    closeWindow: { label: t('Close the window'), keys: ['Ctrl+Shift+w'], isReserved: true, run: () => closing.closeWindow() },
  };
}

/** What the menu behind the toolbar's last button has; null is a line. */
export const MAIN_MENU = [
  'newTab', 'newPrivateTab', 'newTabIn', 'newWindow', 'reopenTab', 'restore', null,
  'bookmark', 'bookmarks', 'history', 'tabHistory', 'downloads', null,
  'find', 'print', 'save', 'screenshot', 'source', 'pageInfo', null,
  'logins', 'permissions', 'blocker', 'clear', 'settings', null,
  'documentation', 'inspector', 'examples', 'fullScreen', 'closeWindow',
];

const SHOWN = {
  ArrowLeft: '←', ArrowRight: '→', Delete: t('Del'), Escape: t('Esc'), PageUp: t('Page up'), PageDown: t('Page down'), Ctrl: t('Ctrl'), Shift: t('Shift'), '-': '−',
};

/** The first key of a command as it stands in menus: "Ctrl+Shift+T". */
export function keyText({ keys: [name] = [] }) {
  if (!name) return '';
  // "Ctrl++" ends with the key itself.
  const parts = name.endsWith('++') ? [...name.slice(0, -2).split('+'), '+'] : name.split('+');
  return parts.map((part) => SHOWN[part] ?? (part.length === 1 ? part.toUpperCase() : part)).join('+');
}

/** A command as menus have it. */
export const entryOf = (command) => ({ label: command.label, key: keyText(command), run: command.run, isThere: command.isThere?.() });
