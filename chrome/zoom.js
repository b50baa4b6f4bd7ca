/** How large the active page is drawn. */

const STEPS = [0.25, 0.33, 0.5, 0.67, 0.75, 0.8, 0.9, 1, 1.1, 1.25, 1.5, 1.75, 2, 2.5, 3, 4, 5];

/** The next step up or down from any scale; the last one at the ends. */
export function stepFrom(scale, direction) {
  // Compares with a tolerance for rounding.
  const past = (step) => (step - scale) * direction > 0.005;
  const [next] = (direction > 0 ? STEPS : [...STEPS].reverse()).filter(past);
  return next ?? (direction > 0 ? STEPS.at(-1) : STEPS[0]);
}

export const percent = (scale) => `${Math.round(scale * 100)} %`;

/** @param {import('./tabs.js').Tabs} tabs */
export function zoomTo(tabs, scale) {
  const { ready, view } = tabs.active;
  // Keeps the position at the top of the page.
  if (ready) view.animateToScaleAndDocumentScrollPosition(scale, view.scrollPosition());
}

export const zoomBy = (tabs, direction) => zoomTo(tabs, stepFrom(tabs.active.scale, direction));
