/** What pages brought onto the disk: a panel with a list, and what the button in the toolbar shows of it. */

import { placeOf } from './address.js';
import { focus } from './keyboard.js';

const MARKUP = `
  <div class="panel-head">
    <h2>Downloads</h2>
    <button type="button" class="text" id="dl-clear" hidden>Clear finished</button>
    <button type="button" class="icon" id="dl-close" aria-label="Close"><svg><use href="#i-close"/></svg></button>
  </div>
  <p class="panel-empty" id="dl-none">Nothing has been downloaded yet.</p>
  <ul id="dl-list"></ul>`;

const FAILURES = {
  ResultCancelled: 'Cancelled',
  ResultNetworkError: 'The connection failed',
  ResultInvalidFilename: 'It cannot have this name',
  ResultFileIOError: 'The file could not be written',
  ResultFileNotFoundError: 'There is no such file',
  ResultNoEnoughMemError: 'There was not enough memory',
};

/** A name that none of the others has: the host would write over the earlier file. */
export function freeName(name, taken) {
  const [, stem, ending] = /^(.+?)((?:\.tar)?\.[^.]+)?$/.exec(name) ?? [null, name || 'download', ''];
  let free = stem + (ending ?? '');
  for (let number = 2; taken.has(free); number++) free = `${stem} (${number})${ending ?? ''}`;
  return free;
}

export function sizeText(bytes) {
  if (bytes < 1000) return `${bytes} bytes`;
  const units = ['kB', 'MB', 'GB', 'TB'];
  let value = bytes / 1000;
  while (value >= 999.95 && units.length > 1) {
    value /= 1000;
    units.shift();
  }
  return `${value.toFixed(value < 99.95 ? 1 : 0)} ${units[0]}`;
}

/** One line about a download. */
export function stateText({ state, done, total, result }) {
  if (state === 'running') return total > 0 ? `${sizeText(done)} of ${sizeText(total)}` : sizeText(done);
  if (state === 'paused') return `Paused at ${sizeText(done)}`;
  if (state === 'finished') return sizeText(done);
  if (state === 'lost') return 'The process that loaded it ended';
  if (state === 'left') return 'Its tab was closed; how far it is, is not known';
  return FAILURES[result] ?? 'It failed';
}

/** A page that asks for ever more files is not asked about ever more of them. */
const MOST_PENDING = 50;

/**
 * Which files of pages are saved without a question: those that a person has asked for by their
 * address, and the first one of a site in a tab. Of what else the site wants to save, a person is asked
 * once, and the answer counts for the tab while it shows that site.
 */
class DownloadGate {
  /** By tab, for the site that it shows. */
  #sites = new WeakMap();
  #ask;

  /** @param {(tab: object, question: object) => void} ask  as Dialogs has it */
  constructor(ask) {
    this.#ask = ask;
  }

  /**
   * @param {{tab: object, isWanted: boolean, decide: (save: boolean) => void}} request
   * @returns {boolean} whether it is saved at once; if not, `decide` is called some time
   */
  lets({ tab, isWanted, decide }) {
    if (isWanted) return true;
    const place = placeOf(tab.url ?? '');
    let site = this.#sites.get(tab);
    if (site?.place !== place) this.#sites.set(tab, site = { place, pending: [], allowed: undefined, isFirst: true });
    if (site.isFirst || site.allowed) {
      site.isFirst = false;
      return true;
    }
    if (site.allowed === false || site.pending.length >= MOST_PENDING) {
      // After the host has received setWait.
      queueMicrotask(() => decide(false));
      return false;
    }
    site.pending.push(decide);
    if (site.pending.length === 1) this.#askAbout(tab, site);
    return false;
  }

  #askAbout(tab, site) {
    const settle = (save) => site.pending.splice(0).forEach((decide) => decide(save));
    this.#ask(tab, {
      title: `${site.place} wants to save more files`,
      message: 'It has saved one already. What it may save goes to your downloads.',
      accept: 'Save them',
      cancel: 'Don’t save',
      answer: (allowed) => {
        site.allowed = allowed;
        settle(allowed);
      },
      drop: () => settle(false),
    });
  }
}

/** The state of all downloads, from the events of all tabs. Reports "change". */
export class DownloadList extends EventTarget {
  /** Newest first. */
  items = [];
  #gate;

  /** @param {{ask: (tab: object, question: object) => void}} dialogs */
  constructor(tabs, dialogs) {
    super();
    this.#gate = new DownloadGate((tab, question) => dialogs.ask(tab, question));
    tabs.addEventListener('attached', ({ detail: tab }) => this.#listen(tab));
    // There are no more events once the web view is gone, although the host continues the download if
    // its process lives.
    for (const [end, state] of [['closed', 'left'], ['crashed', 'lost']]) {
      tabs.addEventListener(end, ({ detail: tab }) => {
        for (const item of this.items) if (item.tab === tab && ['running', 'paused'].includes(item.state)) item.state = state;
        this.#changed();
      });
    }
  }

  get running() {
    return this.items.filter((item) => item.state === 'running');
  }

  /** How much of what runs is there, from 0 to 1; null if nobody knows. */
  get progress() {
    const { running } = this;
    if (!running.length || running.some((item) => !(item.total > 0))) return null;
    const sum = (of) => running.reduce((total, item) => total + of(item), 0);
    return Math.min(1, sum((item) => item.done) / sum((item) => item.total));
  }

  /** What a new file shall be called instead, so that it takes no other's place. */
  nameFor(name) {
    return freeName(name, new Set(this.items.map((item) => item.name)));
  }

  pause(item) {
    this.#update(item, { state: 'paused' });
    item.view.downloadPause(item.id);
  }

  resume(item) {
    this.#update(item, { state: 'running' });
    item.view.downloadResume(item.id);
  }

  cancel(item) {
    item.view.downloadCancel(item.id);
  }

  retry(item) {
    this.#update(item, { state: 'running', result: '' });
    item.view.downloadRetry(item.id);
  }

  clearFinished() {
    for (const item of this.items) if (!this.#isUnderWay(item) && this.#canCommand(item)) item.view.downloadRemove(item.id);
    this.items = this.items.filter(this.#isUnderWay);
    this.#changed();
  }

  canRetry(item) {
    return item.state === 'failed' && this.#canCommand(item);
  }

  /** What the button beside it does, and another one before it. @returns {[string, () => void][]} */
  actionsOf(item) {
    const cancel = ['Cancel', () => this.cancel(item)];
    if (item.state === 'running') return [['Pause', () => this.pause(item)], cancel];
    if (item.state === 'paused') return [['Resume', () => this.resume(item)], cancel];
    return this.canRetry(item) ? [['Retry', () => this.retry(item)]] : [];
  }

  #isUnderWay = ({ state }) => state === 'running' || state === 'paused';

  #canCommand({ tab, view }) {
    return tab.view === view;
  }

  #listen(tab) {
    const { view, process } = tab;
    // Download ids are per process.
    const find = (id) => this.items.find((item) => item.id === id && item.process === process);
    view.on('DownloadRequest', ({ data }) => {
      const { downloadId: id, url } = data;
      const save = () => {
        const name = this.nameFor(data.filename);
        this.#add({ id, name, url, tab, view, process });
        return name;
      };
      const isWanted = tab.requested === url;
      // The navigation became a download: the tab stays where it is.
      if (isWanted) tab.stay();
      const decide = (saves) => tab.view === view && view.downloadUpdate(id, saves ? 'ActionSave' : 'ActionDiscard', saves ? save() : '');
      if (!this.#gate.lets({ tab, isWanted, decide })) return { setAction: 'ActionPending' };
      return { setAction: 'ActionSave', setFilename: save() };
    });
    view.on('DownloadStarted', ({ data }) => {
      const { downloadId: id, filename: path, url } = data;
      // Unknown downloads were started without a request: by a command or by the host itself.
      if (!find(id)) this.#add({ id, name: path.split('/').pop(), url, tab, view, process });
      this.#update(find(id), { path });
    });
    view.on('DownloadProgress', ({ data }) => {
      this.#update(find(data.downloadId), { done: Number(data.downloadedSize), total: Number(data.totalSize) });
    });
    view.on('DownloadFinished', ({ data }) => {
      const state = data.downloadResult === 'ResultSuccess' ? 'finished' : 'failed';
      this.#update(find(data.downloadId), { state, result: data.downloadResult });
    });
  }

  #add(item) {
    this.items.unshift({ state: 'running', done: 0, total: 0, result: '', path: '', ...item });
    this.dispatchEvent(new Event('added'));
    this.#changed();
  }

  #update(item, fields) {
    if (!item) return;
    Object.assign(item, fields);
    this.#changed();
  }

  #changed() {
    this.dispatchEvent(new Event('change'));
  }
}

export class DownloadsPanel {
  onToggle = () => {};
  #element;
  #button;
  #list;
  #rows = new Map();
  #drawing = 0;

  /**
   * @param {HTMLElement} element
   * @param {HTMLButtonElement} button  opens it, and shows that something is going on
   * @param {{list: DownloadList}} options
   */
  constructor(element, button, { list }) {
    this.#element = element;
    this.#button = button;
    this.#list = list;
    element.innerHTML = MARKUP;
    this.#part('close').addEventListener('click', () => this.toggle());
    this.#part('clear').addEventListener('click', () => list.clearFinished());
    element.addEventListener('keydown', (event) => event.key === 'Escape' && this.toggle());
    // Progress events are far more frequent than frames.
    list.addEventListener('change', () => {
      this.#drawing ||= requestAnimationFrame(() => this.#draw());
    });
    list.addEventListener('added', () => {
      button.classList.remove('news');
      // Forces a layout, so that the same animation restarts.
      void button.offsetWidth;
      button.classList.add('news');
    });
  }

  get isOpen() {
    return !this.#element.hidden;
  }

  open() {
    if (!this.isOpen) this.toggle();
  }

  toggle() {
    this.#element.hidden = this.isOpen;
    if (this.isOpen) {
      this.#draw();
      focus(this.#part('close'));
    }
    this.onToggle(this.isOpen);
  }

  #part(name) {
    return this.#element.querySelector(`#dl-${name}`);
  }

  #draw() {
    cancelAnimationFrame(this.#drawing);
    this.#drawing = 0;
    this.#drawButton();
    if (!this.isOpen) return;

    const { items } = this.#list;
    this.#part('none').hidden = items.length > 0;
    this.#part('clear').hidden = items.every(({ state }) => state === 'running' || state === 'paused');
    for (const [item, row] of this.#rows) {
      if (items.includes(item)) continue;
      row.root.remove();
      this.#rows.delete(item);
    }
    items.forEach((item, index) => {
      const row = this.#rows.get(item) ?? this.#addRow(item);
      const there = this.#part('list').children[index];
      if (there !== row.root) this.#part('list').insertBefore(row.root, there ?? null);
      this.#drawRow(item, row);
    });
  }

  #drawButton() {
    const count = this.#list.running.length;
    const label = count ? `Downloads, ${count} running` : 'Downloads';
    this.#button.setAttribute('aria-label', label);
    this.#button.title = label;
    this.#button.classList.toggle('running', count > 0);
    const { progress } = this.#list;
    this.#button.classList.toggle('unsure', count > 0 && progress === null);
    this.#button.style.setProperty('--done', progress ?? 0);
  }

  #addRow(item) {
    const root = document.createElement('li');
    root.innerHTML = `
      <div class="dl-name"></div>
      <progress max="1"></progress>
      <div class="dl-state" role="status"></div>
      <div class="dl-actions"></div>`;
    const [name, progress, state, actions] = root.children;
    const row = { root, name, progress, state, actions, drawn: '' };
    this.#rows.set(item, row);
    return row;
  }

  #drawRow(item, row) {
    const { root, name, progress, state } = row;
    const running = item.state === 'running';
    root.className = item.state;
    root.title = item.path || item.url.slice(0, 200);
    name.textContent = item.name;
    state.textContent = stateText(item);
    progress.hidden = !running;
    progress.setAttribute('aria-label', item.name);
    if (item.total > 0) progress.value = item.done / item.total;
    else progress.removeAttribute('value');
    const actions = this.#list.actionsOf(item);
    const words = actions.map(([word]) => word).join();
    // Redrawing at every step would replace a button while it is pressed.
    if (words === row.drawn) return;
    row.drawn = words;
    row.actions.replaceChildren(...actions.map(([word, run]) => {
      const button = Object.assign(document.createElement('button'), { type: 'button', className: 'text', textContent: word });
      button.setAttribute('aria-label', `${word} ${item.name}`);
      button.addEventListener('click', run);
      return button;
    }));
  }
}
