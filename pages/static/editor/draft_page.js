// What the pages that change the open template have in common: a draft, and the form that posts it.
// SPDX-License-Identifier: MIT
import { draftProblems } from "./checks.js";
import { element, hiddenField, readBlock, words } from "./dom.js";
import { Draft } from "./draft.js";
import { focusReason } from "./marks.js";
import { fileNameOf, pagesFor, withoutSuffix } from "./pools.js";
import { listProblems, showProblems } from "./problems.js";
import { typed } from "./typed.js";

/**
 * A page with a draft. A subclass shows the draft with show(), tells the views of its fields with
 * `fieldViews`, each {field, controls, label}, and where an invocation is shown with headOf(). The
 * views call changed() whenever the draft may have changed.
 */
export class DraftPage {
  /** `area` is where the draft is shown. */
  constructor(template, area) {
    Object.assign(this, { template, area, path: template.file });
    this.form = document.getElementById("edit");
    this.count = document.getElementById("count");
    this.discard = document.getElementById("discard");
    this.isSent = false;
    this.draft = new Draft(template);
  }

  start() {
    if (typed !== null) this.takeTyped();
    this.show();
    this.listen();
    this.listConflicts();
  }

  takeTyped() {
    const lost = this.draft.refill(typed.fields, typed.conflicts);
    if (lost.length > 0) showLost(lost);
  }

  listen() {
    this.form.addEventListener("submit", (event) => this.complete(event));
    this.discard.addEventListener("click", () => this.startOver());
    addEventListener("beforeunload", (event) => {
      if (!this.isSent && this.draft.runs.length > 0) event.preventDefault();
    });
    addEventListener("pageshow", () => (this.isSent = false));
  }

  /** Tells how much there is to save. */
  changed() {
    const changes = this.draft.runs.length;
    const id = ["edit.count.none", "edit.count.one"][changes] ?? "edit.count.some";
    this.count.textContent = words(id, changes);
    this.discard.hidden = changes === 0 && !this.draft.invocations.some(({ isNew }) => isNew);
  }

  startOver() {
    this.draft = new Draft(this.template);
    this.show();
    this.area.focus();
  }

  /** What keeps the draft from being posted; `event` is the form's. */
  problems(_event) {
    return draftProblems(this.draft).map((problem) => this.placed(problem));
  }

  /** The form fields to post; none when there is nothing to do. */
  fields(_event) {
    return this.draft.runs.flat().map(([name, value]) => hiddenField(name, value));
  }

  /** Puts the runs into the form, unless something is wrong with them. */
  complete(event) {
    const problems = this.problems(event);
    const fields = this.fields(event);
    if (problems.length > 0 || fields.length === 0) {
      event.preventDefault();
      if (problems.length > 0) showProblems(problems);
      else this.count.textContent = words("edit.nothing");
      return;
    }
    document.getElementById("runs").replaceChildren(...fields);
    this.isSent = true;
  }

  listConflicts() {
    const inConflict = this.draft.fields.filter((field) => field.conflict !== null);
    const phrase = "edit.conflict";
    if (inConflict.length === 0) return;
    listProblems(inConflict.map((field) => this.placed({ field, row: 0, phrase })));
  }

  /** A problem with the control that it is about. */
  placed({ field, row, invocation, phrase }) {
    if (invocation) return { text: words(phrase), control: this.headOf(invocation) };
    const view = this.fieldViews.find((other) => other.field === field);
    return { text: words(phrase), control: view?.controls[row], label: view?.label };
  }
}

/** Lists changes without a place in the template, so that their values can be copied. */
function showLost(runs) {
  const items = runs.map((run) => {
    const address = [run.ServiceName, run.InvocationName, run.AttributeName]
      .filter(Boolean)
      .join(" › ");
    const value = element("span", { class: "value" }, run.AttributeValue ?? "");
    return element("li", {}, `${address}: `, value);
  });
  const box = document.getElementById("lost");
  box.querySelector("ul").replaceChildren(...items);
  box.hidden = false;
}

/**
 * Shows the open template's page, if one is open: its name and path, and, to who may not change it,
 * the words "copy-only" without the button that saves; then `start` gets the template and whether
 * it may be changed.
 */
export function openDraftPage(start) {
  const template = readBlock("template");
  if (template === null) return;
  document.getElementById("name").textContent = withoutSuffix(fileNameOf(template.file));
  document.getElementById("path").textContent = template.file;
  const mayChange = pagesFor(template.file, readBlock("login")).includes("edit");
  if (!mayChange) {
    document.getElementById("save").remove();
    document.getElementById("copy-only").hidden = false;
  }
  focusReason();
  start(template, mayChange);
}
