/**
 * Messages, in the strip below the page: native web views cover anything that
 * is drawn above the page's own area. While one shows, the page is a bit smaller.
 */

const SHOWN_FOR = 8000;
const byId = (id) => document.getElementById(id);
let timer;

/**
 * @param {string} text
 * @param {{label: string, run: () => void, isOffer?: boolean, passes?: boolean}} [action]  an offer is no bad news; one that passes goes by itself
 */
export function showToast(text, action) {
  byId('toast-text').textContent = text;
  const button = byId('toast-action');
  button.hidden = !action;
  button.textContent = action?.label ?? '';
  button.onclick = () => {
    hideToast();
    action.run();
  };
  byId('toast-close').onclick = hideToast;
  byId('toast').classList.toggle('offer', Boolean(action?.isOffer));
  byId('toast').hidden = false;
  clearTimeout(timer);
  // Toasts with actions stay until answered.
  if (!action || action.passes) timer = setTimeout(hideToast, SHOWN_FOR);
}

export function hideToast() {
  clearTimeout(timer);
  byId('toast').hidden = true;
}
