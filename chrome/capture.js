/** Pictures of pages, drawn by the host. */

const EVERYTHING = { x: 0, y: 0, width: 0, height: 0 };
const ANY_SIZE = { width: 0, height: 0 };

/** Per web view, the end of the row of those who wait. @type {WeakMap<object, Promise<unknown>>} */
const rows = new WeakMap();

/**
 * One picture of a view at a time: an answer does not say what it answers.
 * @param {import('./pagehost.js').WebView} view
 * @param {{part?: {x, y, width, height}, within?: {width, height}}} [wish]  which part of the document, and how large the picture may be
 * @returns {Promise<string>} an address for an image; empty if there is nothing to see
 */
export function capture(view, { part = EVERYTHING, within = ANY_SIZE } = {}) {
  const picture = (rows.get(view) ?? Promise.resolve()).then(() => new Promise((resolve) => {
    const offs = [];
    const done = (image) => {
      offs.forEach((off) => off());
      resolve(image && `data:image/png;base64,${image}`);
    };
    offs.push(view.on('CaptureContents', ({ data }) => done(data.base64PNGImage)));
    for (const end of ['Destroyed', 'ProcessCrash']) offs.push(view.on(end, () => done('')));
    view.captureContents(1, JSON.stringify(part), JSON.stringify(within));
  }));
  rows.set(view, picture);
  return picture;
}
