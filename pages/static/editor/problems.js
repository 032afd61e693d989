// Tells what is wrong with a form: beside the field, and at the top with the way there.
// SPDX-License-Identifier: MIT
import { element, uniqueId, words } from "./dom.js";

const summary = () => document.getElementById("problems");

const messageOf = (control) => document.getElementById(`${control.id}-error`);

/** Shows `text` at a control, which gets an id if it has none; "" takes the message away. */
export function markControl(control, text) {
  control.id ||= uniqueId();
  const id = `${control.id}-error`;
  messageOf(control)?.remove();
  const others = (control.getAttribute("aria-describedby") ?? "").split(" ");
  const described = [...others.filter((other) => other && other !== id), ...(text ? [id] : [])];
  control.setAttribute("aria-describedby", described.join(" "));
  control.setAttribute("aria-invalid", String(text !== ""));
  if (text === "") return;
  const line = control.closest("[data-line]") ?? control;
  line.after(element("p", { class: "error", id }, text));
}

/** Takes all messages away. */
export function clearProblems() {
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

/** Moves the focus to the reason that the host gave, if it gave one. */
export function focusReason() {
  const reason = document.querySelector(".reason");
  if (reason && reason.textContent.trim() !== "") reason.focus();
}
