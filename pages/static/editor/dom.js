// What every page script needs: the page's data, its words, and new elements.
// SPDX-License-Identifier: MIT

/** The value of the page's JSON block of that id; null when the page has none. */
export function readBlock(id) {
  const block = document.getElementById(id);
  return block && JSON.parse(block.textContent);
}

const known = readBlock("words") ?? {};

/** The phrase of that id in the page's language, with each {} replaced by the next value. */
export function words(id, ...values) {
  return values.reduce((text, value) => text.replace("{}", () => value), known[id] ?? id);
}

/** True when the page has a phrase of that id. */
export function hasWords(id) {
  return id in known;
}

/**
 * A new element. `attributes` are set as in HTML: true means present, false absent; a function is
 * the listener of the event of that name.
 */
export function element(name, attributes = {}, ...children) {
  const created = document.createElement(name);
  for (const [attribute, value] of Object.entries(attributes)) {
    if (typeof value === "function") created.addEventListener(attribute, value);
    else if (typeof value === "boolean") created.toggleAttribute(attribute, value);
    else created.setAttribute(attribute, value);
  }
  created.append(...children);
  return created;
}

/** A button that does something in the page, other than sending its form. */
export function button(text, click, attributes = {}) {
  return element("button", { type: "button", click, ...attributes }, text);
}

/** A hidden form field. */
export function hiddenField(name, value) {
  const field = element("input", { type: "hidden", name });
  field.value = value;
  return field;
}

let lastId = 0;

/** An id that no other element of the page has. */
export function uniqueId() {
  lastId += 1;
  return `id-${lastId}`;
}
