// What the pages with one plain form have in common: refilled fields, the refused field, the focus.
// SPDX-License-Identifier: MIT
import { words } from "./dom.js";
import { focusReason, markControl } from "./marks.js";
import { directoryOf, poolAddress } from "./pools.js";
import { postedValue, typed } from "./typed.js";

const isRefilled = ({ type, name }) =>
  name !== "" && !["hidden", "password", "submit"].includes(type);

function refill(control) {
  const value = postedValue(control.name);
  if (value === undefined) return;
  if (control.type === "radio") control.checked = value === control.value;
  else control.value = value;
}

/**
 * Fills `form` with what was typed before and shows which field was refused. `controlOf` gives the
 * control of a posted field's name.
 */
export function prepareForm(form, controlOf = (name) => form.elements[name]) {
  if (typed === null) return;
  [...form.elements].filter(isRefilled).forEach(refill);
  const refused = typed.field === "" ? null : controlOf(typed.field);
  if (refused) markControl(refused, words("problems.refused"));
  focusReason();
}

/** Fills the form about the template `path`: what it is about, and the way back. */
export function aboutTemplate(form, path) {
  form.elements.ParserFilename.value = path;
  document.getElementById("path").textContent = path;
  document.getElementById("cancel").href = poolAddress(directoryOf(path));
}

/** Sets the hidden field "NextPage" of `form`. */
export function setNextPage(form, address) {
  form.elements.NextPage.value = address;
}
