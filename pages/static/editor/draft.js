// A template under edit: what is stored, what the user wants, and the posts that lead there.
// SPDX-License-Identifier: MIT
import {
  Kind,
  PHONES,
  isSendable,
  kindOf,
  separatorOf,
  withLineFeeds,
} from "./attributes.js";

const GENERAL = "qvn_svc_general";
const STAMPED = "KLVDefinitionUsed";

const isSameList = (a, b) =>
  a.length === b.length && a.every((text, i) => withLineFeeds(text) === withLineFeeds(b[i]));

const storedOf = ({ stored }) => stored;

const isGiven = (text) => text !== undefined && text !== "" && text !== "NULL";

/** An attribute under edit. */
export class Field {
  /**
   * `attribute` is {service, invocation, name, type, compulsory, values}; `invocation` is null in
   * an invocation that is new, which `label` tells from others. `isNew` tells that the template does not have the attribute, whose
   * `values` are then those it begins with. `isStamped` tells that the device sets it itself.
   */
  constructor(attribute, { isNew = false, isStamped = false } = {}) {
    Object.assign(this, attribute, { isNew, isStamped });
    this.kind = kindOf(this);
    this.stored = isNew ? [] : this.values;
    this.start = this.values.length > 0 ? this.values : [""];
    this.values = [...this.start];
    this.isRemoved = false;
    this.conflict = null;
    this.was = isNew ? "" : this.shownText();
  }

  /** What the host compares with what is stored when the change arrives. */
  shownText() {
    const value = this.stored.join(separatorOf(this.name));
    return JSON.stringify({ value, type: this.type, compulsory: this.compulsory });
  }

  /** The values that would be written: phone numbers without empty lines. */
  get written() {
    return this.kind === Kind.phones ? this.values.filter((value) => value !== "") : this.values;
  }

  /** The values that were taken out of a list that offers removal only. */
  get takenOut() {
    const left = [...this.values];
    return this.stored.filter((value) => {
      const at = left.indexOf(value);
      if (at >= 0) left.splice(at, 1);
      return at < 0;
    });
  }

  /** True when saving would change the attribute. */
  get isChanged() {
    if (this.isRemoved) return true;
    if (this.isNew) return this.written.length > 0;
    const start = this.kind === Kind.phones ? this.stored.filter(Boolean) : this.start;
    return !isSameList(this.written, start);
  }

  /** Takes one value out of a list; of equal ones the first, as the device does. */
  takeOut(value) {
    this.values.splice(this.values.indexOf(value), 1);
  }

  /** Goes back to what was shown. */
  reset() {
    this.values = [...this.start];
    this.isRemoved = false;
  }

  /** Takes the values of a posted text; a list's are cut at its separator. */
  takePosted(text) {
    const isList = this.kind === Kind.phones || this.kind === Kind.choices;
    this.values = isList ? text.split(separatorOf(this.name)) : [withLineFeeds(text)];
  }

  /** The run of form fields that makes the change, as [name, value] pairs. */
  run() {
    if (this.isRemoved) return this.deleteRun();
    if (this.kind === Kind.removal) return this.deleteRun(this.takenOut.join(","));
    return this.written.length === 0 ? this.deleteRun() : this.updateRun();
  }

  address() {
    const isThere = this.invocation !== null;
    return [
      ["ServiceName", this.service],
      isThere ? ["InvocationName", this.invocation] : ["NewInvocation", this.label],
      ["AttributeName", this.name],
    ];
  }

  deleteRun(values) {
    const value = values === undefined ? [] : [["AttributeValue", values]];
    return [...this.address(), ...value, ["Action", "delete"]];
  }

  updateRun() {
    return [
      ...this.address(),
      ["AttributeType", this.type],
      ["AttributeValue", this.written.join(separatorOf(this.name))],
      ["Compulsory", this.compulsory ? "TRUE" : "FALSE"],
      ...(this.was === "" ? [] : [["was", this.was]]),
      ["Action", "update"],
    ];
  }
}

/** An invocation under edit; one without a name is new, and has a label that its form knows it by. */
export class Invocation {
  constructor(service, name, fields = [], label = "") {
    Object.assign(this, { service, name, fields, label });
    this.isRemoved = false;
  }

  get isNew() {
    return this.name === null;
  }

  field(name) {
    return this.fields.find((field) => field.name === name);
  }

  /** A field that the template does not have, and that is not added yet. */
  newField({ name, type, compulsory = false, values }) {
    const { service, label } = this;
    const attribute = { service, invocation: this.name, label, name, type, compulsory, values };
    return new Field(attribute, { isNew: true });
  }

  /** Adds a field that the template does not have. Requires: no field of that name. */
  addField({ name, type, compulsory }) {
    const values = name === PHONES ? [] : [type === "boolean" ? "FALSE" : ""];
    const field = this.newField({ name, type, compulsory, values });
    this.fields.push(field);
    return field;
  }

  deleteRun() {
    return [
      ["ServiceName", this.service],
      ["InvocationName", this.name],
      ["Action", "delete"],
    ];
  }
}

/** A service under edit. */
export class Service {
  constructor(name, invocations = []) {
    Object.assign(this, { name, invocations });
  }

  get takesInvocations() {
    return isSendable(this.name);
  }

  labelled(label) {
    return this.invocations.find((invocation) => invocation.isNew && invocation.label === label);
  }

  /** Adds an invocation of that label, or of one that no other has. */
  addInvocation(label) {
    let number = 1;
    while (this.labelled(String(number))) number += 1;
    const invocation = new Invocation(this.name, null, [], label ?? String(number));
    this.invocations.push(invocation);
    return invocation;
  }

  discard(invocation) {
    this.invocations = this.invocations.filter((other) => other !== invocation);
  }
}

/** The runs of posted form fields, each as an object of its fields. */
export function splitRuns(posted) {
  const runs = [];
  let run = {};
  for (const { name, value } of posted) {
    run[name] = value;
    if (name !== "Action") continue;
    runs.push(run);
    run = {};
  }
  return runs;
}

function readInvocation(service, { name, attributes }, isFirst) {
  const fields = attributes.map((attribute) => {
    const isStamped = service === GENERAL && isFirst && attribute.name === STAMPED;
    return new Field({ service, invocation: name, ...attribute }, { isStamped });
  });
  return new Invocation(service, name, fields);
}

/** A template under edit. */
export class Draft {
  /** `template` is {services: [{name, invocations: [{name, attributes}]}]}. */
  constructor({ services }) {
    this.services = services.map(
      ({ name, invocations }) =>
        new Service(
          name,
          invocations.map((invocation, i) => readInvocation(name, invocation, i === 0)),
        ),
    );
  }

  get invocations() {
    return this.services.flatMap((service) => service.invocations);
  }

  /** The fields that saving is about, those of removed invocations not among them. */
  get fields() {
    return this.invocations.filter(({ isRemoved }) => !isRemoved).flatMap(({ fields }) => fields);
  }

  /** The service of that name, added when the template does not have it. */
  service(name) {
    const found = this.services.find((service) => service.name === name);
    if (found) return found;
    this.services.push(new Service(name));
    return this.services.at(-1);
  }

  /**
   * The runs to post, changed attributes only. Removals of single values come first: the device
   * tells a failed delete by the next removal, and would name the wrong attribute.
   */
  get runs() {
    const changed = this.fields.filter((field) => field.isChanged);
    const step = (field) => {
      if (field.invocation === null) return 3;
      if (field.kind === Kind.removal && !field.isRemoved) return 0;
      return field.isRemoved || field.written.length === 0 ? 2 : 1;
    };
    const ofStep = (wanted) =>
      changed.filter((field) => step(field) === wanted).map((field) => field.run());
    const gone = this.invocations.filter(({ isRemoved }) => isRemoved);
    const deletes = gone.map((invocation) => invocation.deleteRun());
    return [...ofStep(0), ...ofStep(1), ...ofStep(2), ...deletes, ...ofStep(3)];
  }

  /**
   * Takes the changes of an earlier post, [{name, value}], and the conflicts that the host found in
   * it. Returns the runs that have no place in this template any more.
   */
  refill(posted, conflicts = []) {
    const lost = splitRuns(posted).filter((run) => !this.takeRun(run));
    for (const conflict of conflicts) {
      const field = this.find(conflict)?.field(conflict.attribute);
      if (field) field.conflict = conflict;
    }
    return lost;
  }

  find({ service, invocation }) {
    return this.invocations.find((other) => other.service === service && other.name === invocation);
  }

  takeRun(run) {
    if (!isGiven(run.ServiceName)) return false;
    if (!isGiven(run.InvocationName)) return this.takeAddition(run);
    const invocation = this.find({ service: run.ServiceName, invocation: run.InvocationName });
    if (!invocation) return run.Action === "delete";
    return run.Action === "delete" ? takeDelete(invocation, run) : takeUpdate(invocation, run);
  }

  takeAddition(run) {
    const service = this.service(run.ServiceName);
    const label = run.NewInvocation;
    return takeUpdate(service.labelled(label) ?? service.addInvocation(label), run);
  }
}

function takeDelete(invocation, run) {
  if (run.AttributeName === undefined) {
    invocation.isRemoved = true;
    return true;
  }
  const field = invocation.field(run.AttributeName);
  if (!field) return true;
  if (isGiven(run.AttributeValue)) {
    const removable = run.AttributeValue.split(",").filter((value) => field.values.includes(value));
    removable.forEach((value) => field.takeOut(value));
  } else if (field.kind === Kind.phones) {
    field.values = [];
  } else {
    field.isRemoved = true;
  }
  return true;
}

function takeUpdate(invocation, run) {
  if (!isGiven(run.AttributeName)) return false;
  const added = { name: run.AttributeName, type: run.AttributeType ?? "string" };
  const compulsory = run.Compulsory === "TRUE";
  const field = invocation.field(added.name) ?? invocation.addField({ ...added, compulsory });
  if (field.kind === Kind.removal || field.kind === Kind.fixed) return false;
  field.takePosted(run.AttributeValue ?? "");
  if (run.was !== undefined) field.was = run.was;
  return true;
}

/** The values that a draft's attributes of the type `type` hold, each once. */
export function valuesOfType(draft, type) {
  return [...new Set(draft.fields.filter((field) => field.type === type).flatMap(storedOf))];
}

/** The attributes that a draft's invocations of the service hold, as a map of types by name. */
export function attributesOfService(draft, service) {
  const ofService = draft.invocations.filter((invocation) => invocation.service === service);
  return new Map(ofService.flatMap(({ fields }) => fields).map(({ name, type }) => [name, type]));
}
