/** Makes elements, and texts of documents: less to read than one line per attribute. */

/**
 * @param {string} tag
 * @param {object} [fields]  of the element; those with a dash in their name, and "role", are attributes
 * @param {...(Node|string)} children
 */
export function make(tag, fields = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(fields)) {
    if (name.includes('-') || name === 'role') element.setAttribute(name, value);
    else element[name] = value;
  }
  element.append(...children);
  return element;
}

/** A text as it stands in a document. */
export const escaped = (text) => text.replace(/[&<>"]/g, (sign) => `&#${sign.charCodeAt(0)};`);

/**
 * The row of a page in a list: what opens it, with the middle button or Ctrl behind the one in front, and a button besides.
 * @param {{url: string, name: string, note?: string}} page
 * @param {(url: string, isBehind: boolean) => void} open
 * @param {{icon: string, label: string}} besides
 */
export function makePageRow({ url, name, note = url }, open, { icon, label }) {
  const button = make('button', { type: 'button', className: 'entry', title: url }, make('b', { textContent: name }), make('small', { textContent: note }));
  button.addEventListener('click', ({ ctrlKey }) => open(url, ctrlKey));
  button.addEventListener('auxclick', (event) => event.button === 1 && open(url, true));
  const other = make('button', { type: 'button', className: 'icon', 'aria-label': label });
  other.innerHTML = `<svg><use href="#i-${icon}"/></svg>`;
  return { row: make('li', {}, button, other), other };
}

/** Pairs of a name and a value, as a list of terms; pairs without a value are left out. */
export function makeFacts(pairs) {
  return make('dl', { className: 'facts' }, ...pairs.filter(([, value]) => value)
    .flatMap(([name, value]) => [make('dt', { textContent: name }), make('dd', { textContent: value })]));
}
