/** The menus of the right button and the menu key: of tabs, of texts, of the rest of the chrome, and of pages. */

import { mayLead } from './address.js';
import { entryOf, keyText } from './commands.js';
import { focus, focusPage } from './keyboard.js';
import { WebView } from './pagehost.js';
import { textOf } from './page-tools.js';
import { openMenu } from './popups.js';
import { t } from './words.js';

/** @param {HTMLInputElement} field */
export function textEntries(field, { run }) {
  const { selectionStart, selectionEnd, value, readOnly, type } = field;
  const isMarked = selectionStart !== selectionEnd && type !== 'password';
  const edit = (item) => () => {
    focus(field);
    run(item);
  };
  return [
    { label: t('Cut'), key: keyText({ keys: ['Ctrl+x'] }), isOff: !isMarked || readOnly, run: edit('Cut') },
    { label: t('Copy'), key: keyText({ keys: ['Ctrl+c'] }), isOff: !isMarked, run: edit('Copy') },
    { label: t('Paste'), key: keyText({ keys: ['Ctrl+v'] }), isOff: readOnly, run: edit('Paste') },
    { label: t('Delete'), isOff: !isMarked || readOnly, run: edit('Delete') },
    null,
    { label: t('Select all'), key: keyText({ keys: ['Ctrl+a'] }), isOff: !value, run: edit('SelectAll') },
  ];
}

export class ContextMenus {
  #tabs;
  #commands;
  #closing;
  #links;
  #search;

  /**
   * @param {object} parts
   * @param {Record<string, import('./commands.js').Command>} parts.commands
   * @param {(text: string) => string} parts.search  the address that looks for it; empty if none does
   */
  constructor(tabs, { commands, closing, links, search }) {
    this.#tabs = tabs;
    this.#commands = commands;
    this.#closing = closing;
    this.#links = links;
    this.#search = search;
    document.addEventListener('contextmenu', (event) => this.#onMenu(event));
    tabs.addEventListener('attached', ({ detail: tab }) => {
      tab.view.on('ContextMenuRequestEvent', ({ data }) => {
        if (tab !== tabs.active || !tab.rect) return undefined;
        const context = JSON.parse(tab.view.currentContext() || '{}');
        // The engine's own knows about spelling.
        if (context.isInput) return undefined;
        // The page waits for this answer.
        setTimeout(() => this.#openForPage(tab, context, data));
        return { setPreventDefault: true };
      });
    });
  }

  /** Those of elements with menus of their own have been prevented by then. */
  #onMenu(event) {
    if (event.defaultPrevented) return;
    // The engine's own would offer to load the chrome anew.
    event.preventDefault();
    const { target } = event;
    const at = placeOf(event);
    const field = target.closest('input:not([type]), input[type="text"], input[type="search"], input[type="url"], input[type="password"], input[type="number"], textarea');
    if (field) return openMenu(textEntries(field, { run: (item) => WebView.root.handleContextMenuResponse(item) }), at, { label: t('Text'), goBack: () => focus(field) });
    const tab = this.#tabs.list.find((each) => this.#tabs.elementOf(each).contains(target));
    if (tab) return openMenu(this.#tabEntries(tab), at, { label: t('Tab {page}', { page: tab.label }), goBack: () => this.#toPage() });
    const marked = String(getSelection());
    if (marked.trim()) return openMenu([{ label: t('Copy'), run: () => WebView.root.handleContextMenuResponse('Copy') }], at, { label: t('Text') });
    const names = target.closest('.tabs') ? ['newTab', 'newPrivateTab', 'reopenTab', null, 'closeWindow'] : ['bookmark', 'print', 'save', null, 'settings'];
    return openMenu(names.map((name) => name && entryOf(this.#commands[name])), at, { label: t('Menu'), goBack: () => this.#toPage() });
  }

  #toPage() {
    if (!document.hasFocus() || document.activeElement === document.body) focusPage(this.#tabs.active);
  }

  #tabEntries(tab) {
    const { list } = this.#tabs;
    const index = list.indexOf(tab);
    const others = list.filter((each) => each !== tab);
    return [
      entryOf(this.#commands.newTab),
      { label: t('Reload'), run: () => tab.reload() },
      { label: t('Duplicate'), run: () => this.#tabs.open(tab.url, tab.process, { isPrivate: tab.isPrivate, beside: tab }) },
      { label: tab.isPinned ? t('Unpin') : t('Pin'), run: () => this.#tabs.pin(tab, !tab.isPinned) },
      null,
      { label: t('Close'), key: keyText(this.#commands.closeTab), run: () => this.#closing.close(tab) },
      { label: t('Close the others'), isOff: !others.length, run: () => this.#closing.closeAll(others) },
      { label: t('Close those behind it'), isOff: index === list.length - 1, run: () => this.#closing.closeAll(list.slice(index + 1)) },
      entryOf(this.#commands.reopenTab),
    ];
  }

  async #openForPage(tab, context, { x, y }) {
    const marked = context.isSelectable ? await textOf(tab.view, 'String(getSelection())') : '';
    const room = tab.rect;
    if (!room || tab !== this.#tabs.active) return;
    openMenu(this.#pageEntries(tab, context, marked.trim()), { x: room.x + x, y: room.y + y }, { label: t('Page'), goBack: () => focusPage(tab) });
  }

  #pageEntries(tab, { url: link, src, isImage }, marked) {
    const { view } = tab;
    const run = (item) => () => view.handleContextMenuResponse(item);
    const command = (name) => entryOf(this.#commands[name]);
    const query = marked && this.#search(marked);
    const inTab = (where) => () => this.#links.open(tab, link, where);
    return [
      { label: t('Open the link in a new tab'), isThere: mayLead(tab.url, link), run: inTab('behind') },
      { label: t('Open the link in a new window'), isThere: /^https?:/.test(link ?? '') && !tab.isPrivate, run: inTab('window') },
      { label: t('Open the link in a private tab'), isThere: /^https?:/.test(link ?? ''), run: () => this.#tabs.open(link, undefined, { isPrivate: true, beside: tab }) },
      { label: t('Save what the link leads to'), isThere: Boolean(link), run: run('SaveLinkAs') },
      { label: t('Copy the link'), isThere: Boolean(link), run: run('CopyLink') },
      null,
      { label: t('Open the picture in a new tab'), isThere: Boolean(isImage) && mayLead(tab.url, src), run: () => this.#links.open(tab, src, 'behind') },
      { label: t('Save the picture'), isThere: Boolean(isImage && src), run: run('SaveImage') },
      { label: t('Copy the address of the picture'), isThere: Boolean(isImage && src), run: run('CopyImageLink') },
      null,
      { label: t('Copy'), isThere: Boolean(marked), run: run('Copy') },
      { label: t('Search for “{text}”', { text: marked.length > 24 ? `${marked.slice(0, 23)}…` : marked }), isThere: Boolean(query), run: () => this.#tabs.open(query, tab.process, { isPrivate: tab.isPrivate, beside: tab }) },
      null,
      ...(link || isImage ? [] : ['back', 'forward', 'reload', null, 'bookmark', 'print', 'save', 'source', null].map((name) => name && command(name))),
      { label: t('Inspect'), isThere: view.isEnableWebInspector() === '1', run: run('InspectElement') },
    ];
  }
}

/** The menu key has no place: then it is that of what has the keyboard. */
function placeOf({ clientX, clientY, target }) {
  if (clientX || clientY) return { x: clientX, y: clientY };
  const { left, bottom } = target.getBoundingClientRect();
  return { x: left, y: bottom };
}
