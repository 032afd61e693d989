// What people call attributes, services and values.
// SPDX-License-Identifier: MIT
import { hasWords, words } from "./dom.js";

/** The name of an attribute or a service as people read it. */
export function labelOf(name, kind) {
  const id = `${kind}.${name}`;
  if (hasWords(id)) return words(id);
  return name.replace(/([a-z])(?=[A-Z])/g, "$1 ").replace(/_/g, " ") || words("edit.unnamed");
}

/** The value of an enumeration as people read it; one that nobody has named as it is. */
export function valueLabel(value) {
  const id = `value.${value}`;
  return hasWords(id) ? words(id) : value;
}
