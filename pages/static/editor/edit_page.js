// The template editor: shows the open template's fields and posts what was changed.
// SPDX-License-Identifier: MIT
import { draftProblems, newServiceProblem } from "./checks.js";
import { Destination } from "./destination.js";
import { button, element, hiddenField, readBlock, words } from "./dom.js";
import { Draft } from "./draft.js";
import { focusReason, markControl } from "./marks.js";
import { fileNameOf, pageAddress, pagesFor, withoutSuffix } from "./pools.js";
import { listProblems, showProblems } from "./problems.js";
import { ServiceView, enterPresses, suggestingInput } from "./service_view.js";
import { typed } from "./typed.js";
import { SERVICE_NAMES } from "./vocabulary.js";

/** The editor of one template; views call changed() whenever the draft may have changed. */
class EditPage {
  constructor(template) {
    this.path = template.file;
    this.form = document.getElementById("edit");
    this.services = document.getElementById("services");
    this.count = document.getElementById("count");
    this.discard = document.getElementById("discard");
    this.destination = new Destination();
    this.isSent = false;
    this.template = template;
    this.draft = new Draft(template);
    this.takeTyped();
    this.show();
    this.listen();
    this.listConflicts();
  }

  takeTyped() {
    this.destination.suggest(this.path);
    if (typed === null) return;
    const lost = this.draft.refill(typed.fields, typed.conflicts);
    this.destination.refill();
    this.showRefused(this.destination.controlOf(typed.field));
    if (lost.length > 0) showLost(lost);
  }

  /** Shows that the name of the copy was refused. */
  showRefused(control) {
    if (control === null) return;
    control.closest("details").open = true;
    markControl(control, words("problems.refused"));
  }

  show() {
    this.views = this.draft.services.map((service) => new ServiceView(service, this));
    this.services.replaceChildren(...this.views.map(({ node }) => node));
    if (this.views.length === 0)
      this.services.append(element("p", { class: "notice" }, words("edit.empty")));
    this.changed();
  }

  listen() {
    document.getElementById("new-service").replaceChildren(...this.newService());
    this.form.addEventListener("submit", (event) => this.complete(event));
    this.discard.addEventListener("click", () => this.startOver());
    addEventListener("beforeunload", (event) => {
      if (!this.isSent && this.draft.runs.length > 0) event.preventDefault();
    });
    addEventListener("pageshow", () => (this.isSent = false));
  }

  /** Tells how much there is to save. */
  changed() {
    if (!this.views) return;
    const changes = this.draft.runs.length;
    const id = ["edit.count.none", "edit.count.one"][changes] ?? "edit.count.some";
    this.count.textContent = words(id, changes);
    this.discard.hidden = changes === 0;
  }

  startOver() {
    this.draft = new Draft(this.template);
    this.views = undefined;
    this.show();
    this.services.focus();
  }

  newService() {
    const [label, input, list] = suggestingInput(words("edit.service.name"), SERVICE_NAMES);
    const add = button(words("edit.service.add"), () => this.addService(input));
    const line = element(
      "div",
      { class: "new-field" },
      element("div", {}, label, input, list),
      add,
    );
    enterPresses(line, add);
    return [line];
  }

  addService(input) {
    const problem = newServiceProblem(input.value);
    markControl(input, problem === "" ? "" : words(problem));
    if (problem !== "") {
      input.focus();
      return;
    }
    const service = this.draft.service(input.value);
    input.value = "";
    let view = this.views.find((other) => other.service === service);
    if (!view) {
      view = new ServiceView(service, this);
      this.views.push(view);
      this.services.querySelector(".notice")?.remove();
      this.services.append(view.node);
    }
    if (service.takesInvocations) view.add();
  }

  /** Puts the runs into the form, unless something is wrong with them. */
  complete(event) {
    const isCopy = event.submitter?.id === "save-copy";
    const problems = draftProblems(this.draft).map((problem) => this.placed(problem));
    const wrongName = isCopy ? this.destination.problem() : null;
    if (wrongName) problems.push(wrongName);
    const runs = this.draft.runs;
    if (problems.length > 0 || (runs.length === 0 && !isCopy)) {
      event.preventDefault();
      this.refuse(problems);
      return;
    }
    const fields = runs.flat().map(([name, value]) => hiddenField(name, value));
    if (isCopy) {
      fields.unshift(...this.destination.fields());
      fields.push(hiddenField("NextPage", pageAddress("edit", this.destination.path)));
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

  refuse(problems) {
    if (problems.length > 0) showProblems(problems);
    else this.count.textContent = words("edit.nothing");
  }

  /** A problem with the control that it is about. */
  placed({ field, row, invocation, phrase }) {
    const views = this.views.flatMap((service) => service.views);
    if (invocation) {
      const { node, firstInput } = views.find((view) => view.invocation === invocation);
      return { text: words(phrase), control: firstInput ?? node.querySelector("h3") };
    }
    const view = views.flatMap((other) => other.views).find((other) => other.field === field);
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

/** Without the right to change the template itself, a copy can still be saved. */
function limitTo(pages) {
  if (pages.includes("edit")) return;
  document.getElementById("save").remove();
  document.getElementById("copy-only").hidden = false;
  document.getElementById("save-as").open = true;
}

const template = readBlock("template");
if (template !== null) {
  document.getElementById("name").textContent = withoutSuffix(fileNameOf(template.file));
  document.getElementById("path").textContent = template.file;
  limitTo(pagesFor(template.file, readBlock("login")));
  focusReason();
  new EditPage(template);
}
