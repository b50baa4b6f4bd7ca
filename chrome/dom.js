/** Makes elements: less to read than one line per attribute. */

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

/** Pairs of a name and a value, as a list of terms; pairs without a value are left out. */
export function makeFacts(pairs) {
  return make('dl', { className: 'facts' }, ...pairs.filter(([, value]) => value)
    .flatMap(([name, value]) => [make('dt', { textContent: name }), make('dd', { textContent: value })]));
}
