// The services of the editor and their invocations: fields and invocations come and go here.
// SPDX-License-Identifier: MIT
import { canRemoveInvocation, isSendable } from "./attributes.js";
import { newFieldProblem } from "./checks.js";
import { button, element, uniqueId, words } from "./dom.js";
import { attributesOfService } from "./draft.js";
import { FieldView } from "./field_view.js";
import { labelOf } from "./labels.js";
import { markControl } from "./marks.js";
import { TYPES, knownAttributes } from "./vocabulary.js";

/** A labelled text input with suggestions, [label, input]. */
export function suggestingInput(text, suggestions) {
  const id = uniqueId();
  const options = [...suggestions].map((value) => element("option", { value }));
  const list = element("datalist", { id: `${id}-list` }, ...options);
  const input = element("input", { type: "text", id, list: list.id, autocomplete: "off" });
  input.spellcheck = false;
  return [element("label", { for: id }, text), input, list];
}

/** Lets the Enter key in `container` press `target` and not send the form. */
export function enterPresses(container, target) {
  container.addEventListener("keydown", (event) => {
    if (event.key !== "Enter" || event.target.localName === "button") return;
    event.preventDefault();
    target.click();
  });
}

/** Where a new field is described; `add` gets {name, type, compulsory}. */
class NewField {
  constructor(invocation, draft, add) {
    Object.assign(this, { invocation, add });
    const here = knownAttributes(invocation.service);
    this.types = new Map([...here, ...attributesOfService(draft, invocation.service)]);
    const names = [...this.types.keys()].filter((name) => !invocation.field(name));
    const [nameLabel, name, nameList] = suggestingInput(words("edit.field.name"), names);
    const [typeLabel, type, typeList] = suggestingInput(words("edit.field.type"), TYPES);
    Object.assign(this, { name, type });
    type.value = "string";
    this.required = element("input", { type: "checkbox" });
    name.addEventListener("input", () => this.takeType());
    const done = button(words("edit.field.add"), () => this.finish());
    const box = element("label", { class: "box" }, this.required, words("edit.field.required"));
    const cell = (...parts) => element("div", {}, ...parts);
    const grid = element("div", { class: "new-field" }, cell(nameLabel, name, nameList));
    grid.append(cell(typeLabel, type, typeList), box, done);
    enterPresses(grid, done);
    const summary = element("summary", {}, words("edit.field.new"));
    this.node = element("details", { class: "add" }, summary, grid);
  }

  /** A known name brings its type along. */
  takeType() {
    const type = this.types.get(this.name.value);
    if (type) this.type.value = type;
  }

  finish() {
    const wanted = { name: this.name.value, type: this.type.value };
    const problem = newFieldProblem(this.invocation, wanted);
    const control = problem === "edit.error.type" ? this.type : this.name;
    for (const input of [this.name, this.type]) markControl(input, "");
    if (problem === "") {
      this.add({ ...wanted, compulsory: this.required.checked });
    } else {
      markControl(control, words(problem));
      control.focus();
    }
  }
}

/** Shows one invocation; `discard` takes a new one away again. */
class InvocationView {
  constructor(invocation, editor, discard) {
    Object.assign(this, { invocation, editor, discard });
    this.node = element("section", { class: "invocation" });
    this.render();
  }

  render() {
    const { invocation } = this;
    this.views = invocation.fields.map((field) => this.fieldView(field));
    const body = invocation.isRemoved ? [this.removedText()] : this.body();
    this.node.classList.toggle("removed", invocation.isRemoved);
    this.node.replaceChildren(this.heading(), ...body);
    this.editor.changed();
  }

  fieldView(field) {
    const discard = () => {
      this.invocation.fields = this.invocation.fields.filter((other) => other !== field);
      this.render();
      this.heading().focus();
    };
    return new FieldView(field, this.editor, discard);
  }

  heading() {
    const { name } = this.invocation;
    this.title ??= element(
      "h3",
      { tabindex: "-1" },
      name === null ? words("edit.invocation.unnamed") : name,
    );
    return this.title;
  }

  body() {
    const { invocation } = this;
    const parts = this.views.map(({ node }) => node);
    if (invocation.isNew) {
      parts.unshift(element("p", { class: "hint" }, words("edit.invocation.new")));
    }
    if (isSendable(invocation.service) && (invocation.isNew || isSendable(invocation.name))) {
      const foot = { class: "invocation-foot" };
      parts.push(element("div", foot, this.newField(), this.removeButton()));
    }
    return parts;
  }

  newField() {
    const add = (wanted) => {
      this.invocation.addField(wanted);
      this.render();
      this.views.at(-1).controls[0]?.focus();
    };
    const part = new NewField(this.invocation, this.editor.draft, add);
    this.firstInput = part.name;
    part.node.open = this.invocation.isNew && this.invocation.fields.length === 0;
    return part.node;
  }

  removeButton() {
    const { service, name, isNew } = this.invocation;
    if (isNew) return button(words("edit.invocation.discard"), this.discard, { class: "quiet" });
    if (!canRemoveInvocation(service, name)) return "";
    const remove = () => this.setRemoved(true);
    const text = words("edit.invocation.remove");
    return button(text, remove, { class: "quiet", "aria-label": `${text}: ${name}` });
  }

  removedText() {
    const undo = button(words("edit.undo"), () => this.setRemoved(false));
    return element(
      "p",
      { class: "tools" },
      element("span", {}, words("edit.invocation.removed")),
      undo,
    );
  }

  setRemoved(isRemoved) {
    this.invocation.isRemoved = isRemoved;
    this.render();
    this.node.querySelector("button")?.focus();
  }
}

/** Shows one service. */
export class ServiceView {
  constructor(service, editor) {
    Object.assign(this, { service, editor });
    this.node = element("section", { class: "service" });
    this.list = element("div");
    this.foot = element("div", { class: "service-foot" });
    this.views = [];
    const label = labelOf(service.name, "service");
    const id = uniqueId();
    this.node.setAttribute("aria-labelledby", id);
    const heading = element("h2", { id }, label, " ", element("code", {}, service.name));
    this.node.append(heading, this.list, this.foot);
    this.render();
  }

  /** Shows invocations that are not shown yet, and takes those away that are discarded. */
  render() {
    const { invocations } = this.service;
    const kept = new Map(this.views.map((view) => [view.invocation, view]));
    this.views = invocations.map((invocation) => kept.get(invocation) ?? this.view(invocation));
    this.list.replaceChildren(...this.views.map(({ node }) => node));
    const add = button(words("edit.invocation.add"), () => this.add());
    this.foot.replaceChildren(...(this.service.takesInvocations ? [add] : []));
    this.editor.changed();
  }

  view(invocation) {
    const discard = () => {
      this.service.discard(invocation);
      this.render();
      this.foot.querySelector("button")?.focus();
    };
    return new InvocationView(invocation, this.editor, discard);
  }

  add() {
    this.service.addInvocation();
    this.render();
    this.views.at(-1).firstInput.focus();
  }
}
