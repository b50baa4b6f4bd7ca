/** Windows in motion: three cards that race along their curves, and one to drag, which dims the page. */

import { animate, DragGroup, onDragRelease } from './animations.js';
import { make } from './dom.js';
import { WebView } from './pagehost.js';
import { Panel } from './panel.js';

const CURVES = { Linear: 'Steady', EaseInCurve: 'Slow at first', EaseOutCurve: 'Slow at last' };
const CARD = { width: 132, height: 48 };
const ABOVE_ALL = 900;
const DARKEST = 150;
const SNAP = { curve: 'EaseOutCurve', duration: 220 };

const pageOf = (label, color) => `<!doctype html><meta charset="utf-8"><title>${label}</title>
  <body style="margin:0;height:100vh;display:grid;place-content:center;background:${color};color:#fff;
    font:600 14px system-ui,sans-serif;user-select:none;cursor:default">${label}`;

/**
 * Where a card that was let go of goes: to the nearer end of its lane.
 * @param {number} x     where it is from its lane's beginning
 * @param {number} room  how far it can go
 */
export const nearerEnd = (x, room) => (x * 2 < room ? 0 : room);

/** A native window over an element of the chrome, that can be anywhere from its left to its right. */
class Card {
  #lane;
  x = 0;

  constructor(lane, label, color) {
    this.#lane = lane;
    this.view = WebView.create();
    this.ready = new Promise((resolve) => this.view.whenCreated(() => {
      // Clicks go to the lane below, which belongs to the chrome.
      this.view.setSensitivity('SensitivityNever');
      this.view.setZOrder(ABOVE_ALL);
      this.view.loadString(pageOf(label, color));
      this.place();
      this.window = this.view.jsScreenWindowHandle();
      resolve();
    }));
  }

  get box() {
    return this.#lane.getBoundingClientRect();
  }

  get room() {
    return Math.max(0, Math.round(this.box.width) - CARD.width);
  }

  at(x) {
    return [Math.round(this.box.left) + x, Math.round(this.box.top)];
  }

  place() {
    this.x = Math.min(this.x, this.room);
    this.view.setGeometry(...this.at(this.x), CARD.width, CARD.height);
  }

  /** What is to be told to `animate`; the card is there from now on. */
  moveTo(x) {
    const change = { window: this.window, from: this.at(this.x), to: this.at(x) };
    this.x = x;
    return change;
  }
}

export class AnimationsPanel extends Panel {
  #tabs;
  #lanes = new Map(Object.keys(CURVES).map((curve) => [curve, make('div', { className: 'lane' })]));
  #dragLane = make('div', { className: 'lane drag' });
  #duration = make('input', { type: 'range', min: 100, max: 3000, step: 100, value: 1200 });
  #state = make('p', { className: 'note', role: 'status' });
  #go = make('button', { type: 'button', className: 'primary', textContent: 'Race' });
  /** While it is open: the cards, what is dragged, and what ends with it. */
  #stage = null;

  constructor(tabs) {
    super('animations-panel', 'Windows in motion');
    this.#tabs = tabs;
    this.#go.addEventListener('click', () => this.#race());
    this.#dragLane.addEventListener('pointerdown', (event) => this.#beginDrag(event));
    this.body.append(
      make('p', { className: 'note', textContent: 'Each card is a web view with a window of its own, moved by the host once per frame.' }),
      ...this.#lanes.values(),
      make('label', { className: 'setting' }, make('span', { textContent: 'Duration' }), this.#duration),
      make('div', { className: 'row' }, this.#go),
      make('h3', { textContent: 'With the finger or the mouse' }), this.#dragLane, this.#state,
    );
    const replace = () => this.#place();
    window.addEventListener('resize', () => requestAnimationFrame(replace));
    this.body.addEventListener('scroll', replace);
    tabs.addEventListener('change', () => this.#stage?.dimming && tabs.active.view !== this.#stage.dimming && this.#undim(this.#stage));
  }

  toggle() {
    super.toggle();
    if (!this.isOpen) this.#clear();
  }

  async draw() {
    if (this.#stage) return;
    const cards = [...this.#lanes].map(([curve, lane], i) => new Card(lane, CURVES[curve], `hsl(${190 + 50 * i} 55% 40%)`));
    const dragged = new Card(this.#dragLane, 'Drag me', '#b4551e');
    const stage = (this.#stage = { cards: [...cards, dragged], racers: cards, dragged, offRelease: onDragRelease(() => this.#endDrag()) });
    this.#state.textContent = 'Dragged to the right, it dims the page.';
    await Promise.all(stage.cards.map(({ ready }) => ready));
    // If closed in the meantime, there is nothing left to clean up.
    if (this.#stage !== stage) return;
    stage.follows = new DragGroup(dragged.window);
  }

  #clear() {
    const stage = this.#stage;
    if (!stage) return;
    this.#stage = null;
    stage.offRelease();
    stage.follows?.destroy();
    stage.cards.forEach(({ view }) => view.delete());
    this.#undim(stage);
  }

  /** After the window or the panel has changed its size. */
  #place() {
    this.#stage?.cards.forEach((card) => card.window && card.place());
    const { room } = this.#tabs.active;
    if (room) this.#stage?.dimming?.setFadeColorWindowRect(room.x, room.y, room.width, room.height);
  }

  async #race() {
    const stage = this.#stage;
    if (!stage?.follows) return;
    this.#go.disabled = true;
    const began = performance.now();
    const duration = Number(this.#duration.value);
    await Promise.all(stage.racers.map((card, i) => animate({ curve: Object.keys(CURVES)[i], duration },
      [card.moveTo(card.x ? 0 : card.room)])));
    this.#go.disabled = false;
    this.#state.textContent = `Three windows arrived after ${Math.round(performance.now() - began)} ms.`;
  }

  /** The window that darkens the page; it is of the page's view, so that it goes with it. */
  #dim(stage) {
    const { view, ready, room } = this.#tabs.active;
    if (!ready || !room || view === stage.dimming) return;
    this.#undim(stage);
    stage.dimming = view;
    view.setFadeWindowColor(0, 0, 0, 255);
    stage.shade = view.createFadeColorWindow(room.x, room.y, room.width, room.height, ABOVE_ALL - 1);
    stage.fades = new DragGroup(stage.shade);
  }

  #undim(stage) {
    stage.dimming?.destroyFadeColorWindow();
    stage.fades?.destroy();
    stage.dimming = stage.fades = stage.shade = null;
  }

  #beginDrag(event) {
    const stage = this.#stage;
    if (!stage?.follows || !event.isPrimary) return;
    const { dragged } = stage;
    const { x, room } = dragged;
    const offset = event.clientX - dragged.box.left - x;
    if (offset < 0 || offset > CARD.width) return;
    event.preventDefault();
    this.#dim(stage);
    const start = Math.round(event.clientX);
    stage.follows.follow(-x, room - x, start);
    stage.fades?.fade(-x, room - x, [0, DARKEST], start);
    stage.dragging = true;
  }

  async #endDrag() {
    const stage = this.#stage;
    if (!stage?.dragging) return;
    stage.dragging = false;
    const { dragged, follows, fades } = stage;
    const { delta } = follows;
    follows.stop();
    fades?.stop();
    const { room } = dragged;
    dragged.x += delta;
    const alphaAt = (x) => [room ? Math.round(DARKEST * x / room) : 0];
    const end = nearerEnd(dragged.x, room);
    const fading = { window: stage.shade ?? 0, from: alphaAt(dragged.x), to: alphaAt(end) };
    this.#state.textContent = `Let go at ${dragged.x} of ${room} pixels.`;
    await animate(SNAP, [dragged.moveTo(end), fading]);
  }
}
