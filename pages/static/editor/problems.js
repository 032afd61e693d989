// Lists what is wrong with a form at its top, with the way to each field.
// SPDX-License-Identifier: MIT
import { element, uniqueId, words } from "./dom.js";
import { markControl } from "./marks.js";

const summary = () => document.getElementById("problems");

function clearProblems() {
  summary()?.replaceChildren();
  for (const control of document.querySelectorAll("[aria-invalid=true]")) markControl(control, "");
}

function summaryItem({ text, control, label }) {
  if (!control) return element("li", {}, text);
  const name = label ?? control.labels?.[0]?.textContent.trim() ?? "";
  const click = (event) => {
    event.preventDefault();
    control.focus();
  };
  const link = element("a", { href: `#${control.id}`, click }, name ? `${name}: ${text}` : text);
  return element("li", {}, link);
}

/**
 * Lists problems, each {text, control, label}, `control` and `label` if it has a place, and moves
 * the focus to the list. Requires: an element of the id "problems".
 */
export function listProblems(problems) {
  for (const { control } of problems) if (control) control.id ||= uniqueId();
  const title = words(problems.length === 1 ? "problems.one" : "problems.some", problems.length);
  summary().replaceChildren(
    element("h2", {}, title),
    element("ul", {}, ...problems.map(summaryItem)),
  );
  summary().focus();
}

/** Lists problems and shows each at its control. */
export function showProblems(problems) {
  clearProblems();
  for (const { control, text } of problems) if (control) markControl(control, text);
  listProblems(problems);
}
