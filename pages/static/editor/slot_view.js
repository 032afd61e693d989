// Shows one slot of an entry: its label, its control, and what is wrong with it.
// SPDX-License-Identifier: MIT
import { holdsForeignBytes } from "./checks.js";
import { conflictBox } from "./conflict_box.js";
import { fixedControl, textControl, toggleControl } from "./controls.js";
import { element, uniqueId, words } from "./dom.js";
import { labelOf, valueLabel } from "./labels.js";
import { markControl } from "./marks.js";
import { Look } from "./slots.js";

function optionsControl(view) {
  const { slot, field } = view;
  const options = slot.options.map((value) =>
    element("option", { value }, value === "" ? words("entries.unset") : valueLabel(value)),
  );
  const change = () => {
    field.values = [select.value];
    view.update();
  };
  const select = element("select", { id: view.id, change }, ...options);
  select.value = slot.text;
  view.controls[0] = select;
  return [select];
}

const CONTROLS = {
  [Look.text]: textControl,
  [Look.toggle]: toggleControl,
  [Look.options]: optionsControl,
  [Look.fixed]: (view) => fixedControl(view, view.slot.fixedReason),
};

/** Shows one slot; `page` is told of every change, see DraftPage. */
export class SlotView {
  /** `number` tells the slot from those of other entries; "" where something else does. */
  constructor(slot, page, number = "") {
    Object.assign(this, { slot, page, number, field: slot.field });
    this.id = uniqueId();
    this.look = slot.look;
    this.name = labelOf(slot.field.name, "attribute");
    this.label = `${this.name} ${number}`.trim();
    this.hasLines = false;
    this.hint = element("p", { class: "hint" });
    this.node = element("div", { class: "slot" });
    this.render();
  }

  /** Shows the slot anew and moves the focus to its control if a row is told. */
  render(focusRow) {
    this.controls = [];
    this.tools = [];
    const controls = CONTROLS[this.look](this);
    this.node.replaceChildren(
      this.labelNode(),
      ...this.conflictBox(),
      ...controls,
      this.hint,
      ...this.foreignHint(),
    );
    this.update();
    if (focusRow !== undefined) this.controls[focusRow]?.focus();
  }

  labelNode() {
    const number = element("span", { class: "unseen" }, ` ${this.number}`);
    if (this.look === Look.fixed) return element("span", { class: "label" }, this.name, number);
    return element("label", { for: this.id, class: "label" }, this.name, number);
  }

  foreignHint() {
    if (this.look === Look.fixed || !holdsForeignBytes(this.field)) return [];
    return [element("p", { class: "hint warning" }, words("edit.foreign"))];
  }

  /** Takes in what was typed. */
  update() {
    this.slot.settle();
    this.node.classList.toggle("changed", this.slot.isChanged);
    const [control] = this.controls;
    if (control?.ariaInvalid === "true") markControl(control, "");
    this.page.changed();
  }

  conflictBox() {
    const { field, label } = this;
    const keep = () => {
      field.conflict = null;
      this.render(0);
    };
    const take = () => {
      if (field.isNew) field.values = [""];
      else field.reset();
      keep();
    };
    return conflictBox({ field, label, take, keep });
  }
}
