// The settings that each entry of a kind has a place for, whether its template has them or not.
// SPDX-License-Identifier: MIT
import { Kind, fixedReason } from "./attributes.js";
import { knownAttributes, knownValues } from "./vocabulary.js";

/** How a slot is shown: as `text`, a `toggle`, one of several `options`, or not to be changed. */
export const Look = Object.freeze({
  text: "text",
  toggle: "toggle",
  options: "options",
  fixed: "fixed",
});

const FIXED_KINDS = [Kind.fixed, Kind.removal, Kind.phones];

/** The place for one attribute of an entry. */
export class Slot {
  /**
   * `name` is an attribute of the vocabulary. An attribute that the invocation lacks is empty, and
   * comes into the invocation with its first value.
   */
  constructor(invocation, name) {
    this.invocation = invocation;
    this.type = knownAttributes(invocation.service).get(name);
    this.field =
      invocation.field(name) ?? invocation.newField({ name, type: this.type, values: [""] });
  }

  get text() {
    return this.field.values[0] ?? "";
  }

  /** True when saving would change the attribute. */
  get isChanged() {
    return this.field.isNew ? this.text !== "" : this.field.isChanged;
  }

  get look() {
    const { field } = this;
    if (FIXED_KINDS.includes(field.kind) || field.values.length > 1) return Look.fixed;
    if (this.type === "boolean" && /^(TRUE|FALSE)?$/.test(this.text)) return Look.toggle;
    return knownValues(this.type).length > 0 ? Look.options : Look.text;
  }

  /** Why the slot cannot be changed, the id of a phrase. */
  get fixedReason() {
    return fixedReason(this.field) || "entries.several";
  }

  /** The values to choose from: the known ones, what is stored, and none where none is stored. */
  get options() {
    return [...new Set([this.field.start[0], this.text, ...knownValues(this.type)])];
  }

  /** Brings the attribute into the invocation once it has a value, and out again without one. */
  settle() {
    const { invocation, field } = this;
    if (!field.isNew) return;
    if (this.text === "") {
      invocation.fields = invocation.fields.filter((other) => other !== field);
    } else if (!invocation.fields.includes(field)) {
      invocation.fields.push(field);
    }
  }
}

/** Adds an entry to `service`, with the values that it begins with, by attribute. */
export function addEntry(service, start) {
  const invocation = service.addInvocation();
  const types = knownAttributes(service.name);
  for (const [name, value] of Object.entries(start)) {
    invocation.fields.push(
      invocation.newField({ name, type: types.get(name), values: [value] }),
    );
  }
  return invocation;
}

/** The attributes of `invocation` that none of the slots is for. */
export function otherNames(invocation, slots) {
  const shown = new Set(slots.map(({ field }) => field.name));
  return invocation.fields.map(({ name }) => name).filter((name) => !shown.has(name));
}
