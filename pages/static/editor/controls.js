// The controls of one field, per kind: they show its values and write what is typed into it.
// SPDX-License-Identifier: MIT
import { Kind, fixedReason, removalReason } from "./attributes.js";
import { button, element, words } from "./dom.js";

const MOST_LINES = 14;

/** The text that `text` would be after `event` pastes into `input`. */
function pasted(input, event) {
  const text = event.clipboardData.getData("text");
  return input.value.slice(0, input.selectionStart) + text + input.value.slice(input.selectionEnd);
}

/** One line of text; a paste of several lines turns it into a text area. */
function lineInput(view) {
  const paste = (event) => {
    const text = pasted(event.target, event).replace(/\r\n?/g, "\n");
    if (!text.includes("\n")) return;
    event.preventDefault();
    view.field.values = [text];
    view.render(0);
  };
  return element("input", { type: "text", paste });
}

function areaInput(text) {
  const lines = Math.min(text.split("\n").length + 1, MOST_LINES);
  return element("textarea", { rows: String(lines) });
}

/** Binds `input` to the value at `row`. */
function bind(view, input, row) {
  input.value = view.field.values[row] ?? "";
  input.autocomplete = "off";
  input.spellcheck = false;
  input.addEventListener("input", () => {
    view.field.values[row] = input.value;
    view.update();
  });
  view.controls[row] = input;
  return input;
}

/** The control of one text. */
export function textControl(view) {
  const text = view.field.values[0];
  const hasLines = view.hasLines || /[\r\n]/.test(text);
  const input = bind(view, hasLines ? areaInput(text) : lineInput(view), 0);
  input.id = view.id;
  if (hasLines) return [input];
  const widen = () => {
    view.hasLines = true;
    view.render(0);
  };
  view.tools.push(button(words("edit.lines"), widen));
  return [input];
}

/** The control of TRUE and FALSE. */
export function toggleControl(view) {
  const isOn = () => view.field.values[0] === "TRUE";
  const state = element("span", { "aria-hidden": "true" }, words(isOn() ? "edit.on" : "edit.off"));
  const change = ({ target }) => {
    view.field.values = [target.checked ? "TRUE" : "FALSE"];
    state.textContent = words(isOn() ? "edit.on" : "edit.off");
    view.update();
  };
  const input = element("input", { type: "checkbox", role: "switch", id: view.id, change });
  input.checked = isOn();
  view.controls[0] = input;
  return [element("span", { class: "switch", "data-line": true }, input, state)];
}

/** One line of a list, with the button that takes it away. */
function listLine(view, row, attributes) {
  const { field, label } = view;
  const input = bind(view, element("input", { type: "text", ...attributes }), row);
  input.setAttribute("aria-label", `${label} ${row + 1}`);
  const remove = () => {
    field.values.splice(row, 1);
    view.render(Math.min(row, field.values.length - 1));
  };
  const name = words("edit.list.remove", `${label} ${row + 1}`);
  const away = button("×", remove, { class: "icon", "aria-label": name, title: name });
  return element("li", { "data-line": true }, input, away);
}

/** A list under edit; one that may not be empty keeps its last line. */
function listControl(view, attributes, addWords) {
  const { field } = view;
  const lines = field.values.map((_, row) => listLine(view, row, attributes));
  const add = () => {
    field.values.push("");
    view.render(field.values.length - 1);
  };
  view.addButton = button(words(addWords), add, { class: "adds" });
  view.tools.push(view.addButton);
  return [element("ul", { class: "lines" }, ...lines)];
}

function phonesControl(view) {
  return listControl(view, { inputmode: "tel" }, "edit.phones.add");
}

function choicesControl(view) {
  if (view.field.values.length === 0) view.field.values = [""];
  const list = view.suggestions();
  const controls = listControl(view, { list: list.id }, "edit.choices.add");
  if (view.field.values.length === 1) controls[0].classList.add("single");
  return [...controls, list];
}

function removalLine(view, value) {
  const takeOut = () => {
    view.field.takeOut(value);
    view.render(0);
  };
  const reason = removalReason(value);
  const name = words("edit.list.remove", value);
  const away =
    reason === ""
      ? button("×", takeOut, { class: "icon", "aria-label": name, title: name })
      : element("small", {}, words(reason));
  return element("li", {}, element("span", { class: "value" }, value), away);
}

function removalControl(view) {
  const lines = view.field.values.map((value) => removalLine(view, value));
  const list = element("ul", { class: "lines fixed", tabindex: "-1" }, ...lines);
  view.controls[0] = list;
  return [list, element("p", { class: "hint" }, words("edit.removal.hint"))];
}

/** The values of a field that cannot be changed here, and why, the id of a phrase. */
export function fixedControl(view, reason = fixedReason(view.field)) {
  const lines = view.field.values.map((value) =>
    element("li", {}, element("span", { class: "value" }, value)),
  );
  const hint = element("p", { class: "hint" }, words(reason));
  return [element("ul", { class: "lines fixed" }, ...lines), hint];
}

const CONTROLS = {
  [Kind.text]: textControl,
  [Kind.toggle]: toggleControl,
  [Kind.choices]: choicesControl,
  [Kind.phones]: phonesControl,
  [Kind.removal]: removalControl,
  [Kind.fixed]: fixedControl,
};

/** True for kinds that are one control; its id is the view's. */
export function isSingle({ kind }) {
  return kind === Kind.text || kind === Kind.toggle;
}

/**
 * Returns the elements that show and change `view.field`. Enters each input into `view.controls` by
 * the row of its value, and further buttons into `view.tools`.
 */
export function controlsOf(view) {
  return CONTROLS[view.field.kind](view);
}
