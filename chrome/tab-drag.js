/** Tabs that are dragged to another place in the strip, with the mouse or a finger held down. */

const MOVED = 6;
/** A finger scrolls the strip unless it has rested for so long. */
const RESTS_FOR = 350;

/**
 * @param {HTMLElement} element
 * @param {HTMLElement} strip         whose child it is
 * @param {(index: number) => void} moveTo  has the element at that place among the children afterwards
 */
export function draggable(element, strip, moveTo) {
  let start = null;
  let isDragging = false;
  // Of the window: an element that gets another place in the document loses the pointer.
  const onMove = (event) => {
    if (!start) return;
    if (!isDragging) {
      if (Math.abs(event.clientX - start.x) < MOVED) return;
      if (start.isTouch && event.timeStamp - start.at < RESTS_FOR) return onEnd();
      isDragging = true;
      element.classList.add('dragged');
    }
    const index = placeAt(event.clientX, [...strip.children], element, getComputedStyle(strip).direction === 'rtl');
    if (strip.children[index] !== element) moveTo(index);
  };
  const onEnd = () => {
    start = null;
    window.removeEventListener('pointermove', onMove);
    for (const end of ['pointerup', 'pointercancel', 'blur']) window.removeEventListener(end, onEnd);
    element.classList.remove('dragged');
    // The click comes after this.
    setTimeout(() => { isDragging = false; });
  };
  element.addEventListener('pointerdown', ({ button, clientX, pointerType, timeStamp, target }) => {
    if (button !== 0 || target.closest('.close')) return;
    start = { x: clientX, isTouch: pointerType === 'touch', at: timeStamp };
    window.addEventListener('pointermove', onMove);
    for (const end of ['pointerup', 'pointercancel', 'blur']) window.addEventListener(end, onEnd);
  });
  element.addEventListener('click', (event) => isDragging && event.stopPropagation(), true);
}

/** Behind how many of the others the pointer is: past the middle of each. */
export function placeAt(x, children, dragged, isMirrored) {
  return children.filter((child) => {
    if (child === dragged) return false;
    const { left, width } = child.getBoundingClientRect();
    return isMirrored ? x < left + width / 2 : x > left + width / 2;
  }).length;
}
