// Shows what is wrong at the place where it is wrong.
// SPDX-License-Identifier: MIT
import { element, uniqueId } from "./dom.js";

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

/** Moves the focus to the reason that the host gave, if it gave one. */
export function focusReason() {
  const reason = document.querySelector(".reason");
  if (reason && reason.textContent.trim() !== "") reason.focus();
}
