// One field of the editor: its label, its controls, what is to know about it and what can be done.
// SPDX-License-Identifier: MIT
import { Kind, canRemove } from "./attributes.js";
import { holdsForeignBytes, lacksValue } from "./checks.js";
import { conflictBox } from "./conflict_box.js";
import { controlsOf, isSingle } from "./controls.js";
import { button, element, uniqueId, words } from "./dom.js";
import { valuesOfType } from "./draft.js";
import { labelOf } from "./labels.js";
import { markControl } from "./marks.js";
import { knownValues } from "./vocabulary.js";

/** Shows one field; `editor` is told of every change, see EditPage. */
export class FieldView {
  constructor(field, editor, discard) {
    Object.assign(this, { field, editor, discard });
    this.id = uniqueId();
    this.label = labelOf(field.name, "attribute");
    this.hasLines = false;
    this.node = element("div", { class: "field" });
    this.hint = element("p", { class: "hint warning" });
    this.render();
  }

  /** Shows the field anew and moves the focus to the control of that row. */
  render(focusRow) {
    this.controls = [];
    this.tools = [];
    const body = this.field.isRemoved ? [this.removedText()] : this.editBody();
    this.node.replaceChildren(this.heading(), element("div", { class: "body" }, ...body));
    this.update();
    if (focusRow === undefined) return;
    const last = this.node.querySelector(".tools button:last-of-type");
    (this.controls[focusRow] ?? this.addButton ?? last)?.focus();
  }

  /** Shows what typing changes: the marks and the buttons of the field. */
  update() {
    const { field } = this;
    const isChanged = field.isChanged;
    this.node.classList.toggle("changed", isChanged);
    this.node.classList.toggle("removed", field.isRemoved);
    if (this.resetButton) this.resetButton.hidden = !isChanged || field.isNew;
    this.hint.textContent =
      field.kind !== Kind.fixed && lacksValue(field) ? words("edit.required.hint") : "";
    for (const control of this.controls.filter(isMarked)) markControl(control, "");
    this.editor.changed();
  }

  heading() {
    const { field } = this;
    const label = isSingle(field) && !field.isRemoved ? "label" : "span";
    const mark = field.compulsory ? ` · ${words("edit.required")}` : "";
    const attributes = { class: "label", id: `${this.id}-label` };
    if (label === "label") attributes.for = this.id;
    return element(
      "div",
      { class: "heading" },
      element(label, attributes, this.label),
      element("small", {}, element("code", {}, field.name), ` ${field.type}${mark}`),
    );
  }

  editBody() {
    const controls = controlsOf(this);
    const group = isSingle(this.field)
      ? {}
      : { role: "group", "aria-labelledby": `${this.id}-label` };
    return [
      ...this.conflictBox(),
      element("div", group, ...controls),
      this.hint,
      ...this.foreignHint(),
      this.toolLine(),
    ];
  }

  foreignHint() {
    if (this.field.kind === Kind.fixed || !holdsForeignBytes(this.field)) return [];
    return [element("p", { class: "hint warning" }, words("edit.foreign"))];
  }

  toolLine() {
    const { field } = this;
    this.resetButton = button(words("edit.reset"), () => this.reset());
    const remove = button(words("edit.remove"), () => this.remove());
    this.tools.push(this.resetButton, ...(canRemove(field) ? [remove] : []));
    for (const tool of this.tools) describe(tool, this.label);
    return element("div", { class: "tools" }, ...this.tools);
  }

  removedText() {
    const undo = button(words("edit.undo"), () => this.reset(), { class: "adds" });
    describe(undo, this.label);
    return element("p", { class: "tools" }, element("span", {}, words("edit.removed")), undo);
  }

  reset() {
    this.field.reset();
    this.field.conflict = null;
    this.hasLines = false;
    this.render(0);
  }

  remove() {
    if (this.field.isNew) {
      this.discard();
      return;
    }
    this.field.isRemoved = true;
    this.render(0);
  }

  conflictBox() {
    const { field, label } = this;
    const keep = () => {
      field.conflict = null;
      this.render(0);
    };
    const take = () => (field.isNew ? this.discard() : this.reset());
    return conflictBox({ field, label, take, keep });
  }

  /** The list of values to suggest for an enumeration. */
  suggestions() {
    const { type } = this.field;
    const values = new Set([...valuesOfType(this.editor.draft, type), ...knownValues(type)]);
    const options = [...values].map((value) => element("option", { value }));
    return element("datalist", { id: `${this.id}-values` }, ...options);
  }
}

const isMarked = (control) => control?.ariaInvalid === "true";

/** Says to which field a button of a repeated kind belongs. */
function describe(tool, label) {
  tool.setAttribute("aria-label", `${tool.textContent}: ${label}`);
}
