// Shows what somebody else stored meanwhile beside what the user typed, and lets the user choose.
// SPDX-License-Identifier: MIT
import { button, element, words } from "./dom.js";

/** A value as text that keeps its blanks and lines; a list as one value a line. */
function valueText(shown) {
  if (shown === null) return element("em", {}, words("edit.conflict.gone"));
  return element("span", { class: "value" }, shown.value || words("edit.conflict.empty"));
}

function row(id, shown) {
  return element("div", {}, element("dt", {}, words(id)), element("dd", {}, valueText(shown)));
}

/**
 * Returns the elements that show the conflict of `field`, none without one. `take` takes what is
 * stored, `keep` keeps what was typed.
 */
export function conflictBox({ field, label, take, keep }) {
  const { conflict, isNew } = field;
  if (conflict === null) return [];
  const attributes = {
    class: "conflict",
    role: "group",
    "aria-label": `${words("edit.conflict")} ${label}`,
  };
  const stored = row("edit.conflict.stored", conflict.stored);
  const wanted = row("edit.conflict.wanted", conflict.wanted);
  return [
    element(
      "div",
      attributes,
      element("p", {}, words("edit.conflict")),
      element("dl", {}, stored, wanted),
      button(words(isNew ? "edit.conflict.leave" : "edit.conflict.theirs"), take),
      button(words("edit.conflict.mine"), keep),
    ),
  ];
}
