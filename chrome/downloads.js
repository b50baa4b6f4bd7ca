/** What pages brought onto the disk: a panel with a list, and what the button in the toolbar shows of it. */

import { placeOf } from './address.js';
import { make } from './dom.js';
import { call, isHosted } from './pagehost.js';
import { Panel } from './panel.js';
import { language, t } from './words.js';

const FAILURES = {
  ResultCancelled: t('Cancelled'),
  ResultNetworkError: t('The connection failed'),
  ResultInvalidFilename: t('It cannot have this name'),
  ResultFileIOError: t('The file could not be written'),
  ResultFileNotFoundError: t('There is no such file'),
  ResultNoEnoughMemError: t('There was not enough memory'),
};

/**
 * A name that no other file has, and that leads to no other folder: the host would write over the earlier file.
 * @param {string} name  as a page has it
 * @param {(name: string) => boolean} isTaken
 */
export function freeName(name, isTaken) {
  const last = name.split('/').pop().replace(/\p{Cc}/gu, '');
  const plain = ['', '.', '..'].includes(last) ? 'download' : last;
  const [, stem = plain, ending = ''] = /^(.+?)((?:\.tar)?\.[^.]+)?$/.exec(plain) ?? [];
  let free = stem + ending;
  for (let number = 2; isTaken(free); number++) free = `${stem} (${number})${ending}`;
  return free;
}

/** A file name out of a title. */
export const fileNameFor = (title) => (title.replace(/[\s\p{C}/\\:*?"<>|]+/gu, ' ').replace(/^[. ]+/, '').slice(0, 120).trim() || 'page');

export function sizeText(bytes) {
  if (bytes < 1000) return t('{count} bytes', { count: bytes });
  const units = ['kB', 'MB', 'GB', 'TB'];
  let value = bytes / 1000;
  while (value >= 999.95 && units.length > 1) {
    value /= 1000;
    units.shift();
  }
  const digits = value < 99.95 ? 1 : 0;
  return `${value.toLocaleString(language, { minimumFractionDigits: digits, maximumFractionDigits: digits })} ${units[0]}`;
}

/** @param {number} seconds */
export function timeText(seconds) {
  if (seconds < 60) return t('{count} s', { count: Math.max(1, Math.round(seconds)) });
  if (seconds < 5400) return t('{count} min', { count: Math.round(seconds / 60) });
  return t('{count} h', { count: Math.round(seconds / 3600) });
}

/** One line about a download. */
export function stateText({ state, done, total, result, speed }) {
  if (state === 'running') {
    return [
      total > 0 ? t('{done} of {total}', { done: sizeText(done), total: sizeText(total) }) : sizeText(done),
      speed > 0 && t('{size} a second', { size: sizeText(Math.round(speed)) }),
      speed > 0 && total > done && t('{time} left', { time: timeText((total - done) / speed) }),
    ].filter(Boolean).join(' · ');
  }
  if (state === 'paused') return t('Paused at {size}', { size: sizeText(done) });
  if (state === 'finished') return sizeText(done);
  if (state === 'printed') return t('Printed');
  if (state === 'lost') return t('The process that loaded it ended');
  if (state === 'left') return t('Its tab was closed; how far it is, is not known');
  return FAILURES[result] ?? t('It failed');
}

/** A measure of speed that neither jumps nor lags: half of it is of the last two seconds. */
const SETTLES_IN = 2000;

/** @returns {{speed: number, measured: {at: number, done: number}}} bytes a second, and what it was measured at */
export function measure({ speed = 0, measured }, done, now) {
  if (!measured || done < measured.done) return { speed: 0, measured: { at: now, done } };
  const time = now - measured.at;
  if (time < 250) return { speed, measured };
  const momentary = (done - measured.done) * 1000 / time;
  const weight = speed ? 1 - 2 ** (-time / SETTLES_IN) : 1;
  return { speed: speed + (momentary - speed) * weight, measured: { at: now, done } };
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
      title: t('{place} wants to save more files', { place: site.place }),
      message: t('It has saved one already. What it may save goes to your downloads.'),
      accept: t('Save them'),
      cancel: t('Don’t save'),
      answer: (allowed) => {
        site.allowed = allowed;
        settle(allowed);
      },
      drop: () => settle(false),
    });
  }
}

/** The state of all downloads, from the events of all tabs. Reports "change", "added" and, of an item, "ended". */
export class DownloadList extends EventTarget {
  /** Newest first. */
  items = [];
  #gate;
  #preferences;
  #outer;

  /**
   * @param {{ask: (tab: object, question: object) => void}} dialogs
   * @param {{preferences?: object, outer?: import('./outer.js').OuterPrograms}} [parts]  where files go, and who opens them
   */
  constructor(tabs, dialogs, { preferences, outer } = {}) {
    super();
    this.#preferences = preferences;
    this.#outer = outer;
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

  /**
   * What a new file shall be called instead, so that it takes no other's place: neither that of a file of
   * this run, nor one in the folder. Where none is named, the host looks into its own.
   */
  nameFor(name, folder = '') {
    const names = new Set(this.items.map((item) => item.name));
    return freeName(name, (free) => names.has(free) || (folder !== '' && isHosted() && call('application.realpath', `${folder}/${free}`) !== ''));
  }

  get #chosenFolder() {
    return (this.#preferences?.get('downloadFolder') ?? '').replace(/\/+$/, '');
  }

  /** Where files go that have no folder of their own; empty if there is none. */
  get folder() {
    if (this.#chosenFolder) return this.#chosenFolder;
    const [last] = this.items.filter(({ path }) => path);
    if (last) return last.path.slice(0, last.path.lastIndexOf('/'));
    const home = isHosted() && call('application.getenv', 'HOME');
    return home ? call('application.realpath', `${home}/Downloads`) : '';
  }

  /** A file that was made here, and not downloaded. */
  addFile(tab, path) {
    this.#add({ id: 0, name: path.split('/').pop(), url: tab.url, tab, view: tab.view, process: tab.process, path, state: 'printed' });
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
    const cancel = [t('Cancel'), () => this.cancel(item)];
    if (item.state === 'running') return [[t('Pause'), () => this.pause(item)], cancel];
    if (item.state === 'paused') return [[t('Resume'), () => this.resume(item)], cancel];
    if (this.#outer && item.path && ['finished', 'printed'].includes(item.state)) {
      return [[t('Open'), () => this.#outer.openFile(item.path)], [t('Show'), () => this.#outer.openFolderOf(item.path)]];
    }
    return this.canRetry(item) ? [[t('Retry'), () => this.retry(item)]] : [];
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
        const folder = this.#chosenFolder;
        const name = this.nameFor(data.filename, folder);
        this.#add({ id, name, url, tab, view, process });
        return folder ? `${folder}/${name}` : name;
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
      const item = find(data.downloadId);
      const done = Number(data.downloadedSize);
      this.#update(item, { done, total: Number(data.totalSize), ...(item && measure(item, done, Date.now())) });
    });
    view.on('DownloadFinished', ({ data }) => {
      const state = data.downloadResult === 'ResultSuccess' ? 'finished' : 'failed';
      const item = find(data.downloadId);
      this.#update(item, { state, result: data.downloadResult });
      if (item) this.dispatchEvent(new CustomEvent('ended', { detail: item }));
    });
  }

  #add(item) {
    this.items.unshift({ state: 'running', done: 0, total: 0, speed: 0, result: '', path: '', ...item });
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

export class DownloadsPanel extends Panel {
  #button;
  #list;
  #clear = make('button', { type: 'button', className: 'text', textContent: t('Clear finished'), hidden: true });
  #none = make('p', { className: 'panel-empty', textContent: t('Nothing has been downloaded yet.') });
  #items = make('ul', { id: 'dl-list' });
  #rows = new Map();
  #drawing = 0;

  /**
   * @param {HTMLButtonElement} button  opens it, and shows that something is going on
   * @param {DownloadList} list
   */
  constructor(button, list) {
    super('downloads-panel', t('Downloads'));
    this.#button = button;
    this.#list = list;
    this.close.before(this.#clear);
    this.body.replaceWith(this.#none, this.#items);
    this.#clear.addEventListener('click', () => list.clearFinished());
    // Progress events are far more frequent than frames.
    list.addEventListener('change', () => {
      this.#drawing ||= requestAnimationFrame(() => {
        this.#drawing = 0;
        this.#drawButton();
        this.refresh();
      });
    });
    list.addEventListener('added', () => {
      button.classList.remove('news');
      // Forces a layout, so that the same animation restarts.
      void button.offsetWidth;
      button.classList.add('news');
    });
  }

  draw() {
    const { items } = this.#list;
    this.#none.hidden = items.length > 0;
    this.#clear.hidden = items.every(({ state }) => state === 'running' || state === 'paused');
    for (const [item, row] of this.#rows) {
      if (items.includes(item)) continue;
      row.root.remove();
      this.#rows.delete(item);
    }
    items.forEach((item, index) => {
      const row = this.#rows.get(item) ?? this.#addRow(item);
      const there = this.#items.children[index];
      if (there !== row.root) this.#items.insertBefore(row.root, there ?? null);
      this.#drawRow(item, row);
    });
  }

  #drawButton() {
    const count = this.#list.running.length;
    const label = count ? t('Downloads, {count} running', { count }) : t('Downloads');
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
