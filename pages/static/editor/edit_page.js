// The template editor: shows the open template's fields and posts what was changed.
// SPDX-License-Identifier: MIT
import { newServiceProblem } from "./checks.js";
import { Destination } from "./destination.js";
import { button, element, hiddenField, words } from "./dom.js";
import { DraftPage, openDraftPage } from "./draft_page.js";
import { markControl } from "./marks.js";
import { fileNameOf, pageAddress, withoutSuffix } from "./pools.js";
import { ServiceView, enterPresses, suggestingInput } from "./service_view.js";
import { typed } from "./typed.js";
import { SERVICE_NAMES } from "./vocabulary.js";

const isCopy = (event) => event.submitter?.id === "save-copy";

/** The editor of one template. */
class EditPage extends DraftPage {
  constructor(template) {
    super(template, document.getElementById("services"));
    this.destination = new Destination();
    const name = withoutSuffix(fileNameOf(this.path));
    this.destination.suggest(this.path, words("copy.suggestion", name));
  }

  takeTyped() {
    super.takeTyped();
    this.destination.refill();
    this.showRefused(this.destination.controlOf(typed.field));
  }

  /** Shows that the name of the copy was refused. */
  showRefused(control) {
    if (control === null) return;
    control.closest("details").open = true;
    markControl(control, words("problems.refused"));
  }

  show() {
    this.views = this.draft.services.map((service) => new ServiceView(service, this));
    this.area.replaceChildren(...this.views.map(({ node }) => node));
    if (this.views.length === 0)
      this.area.append(element("p", { class: "notice" }, words("edit.empty")));
    this.changed();
  }

  listen() {
    super.listen();
    document.getElementById("new-service").replaceChildren(...this.newService());
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
      this.area.querySelector(".notice")?.remove();
      this.area.append(view.node);
    }
    if (service.takesInvocations) view.add();
  }

  problems(event) {
    const wrongName = isCopy(event) ? this.destination.problem() : null;
    return [...super.problems(event), ...(wrongName ? [wrongName] : [])];
  }

  fields(event) {
    const fields = super.fields(event);
    if (!isCopy(event)) return fields;
    const nextPage = hiddenField("NextPage", pageAddress("edit", this.destination.path));
    return [...this.destination.fields(), ...fields, nextPage];
  }

  get invocationViews() {
    return this.views.flatMap((service) => service.views);
  }

  get fieldViews() {
    return this.invocationViews.flatMap((invocation) => invocation.views);
  }

  headOf(invocation) {
    const view = this.invocationViews.find((other) => other.invocation === invocation);
    return view.firstInput ?? view.node.querySelector("h3");
  }
}

openDraftPage((template, mayChange) => {
  if (!mayChange) document.getElementById("save-as").open = true;
  new EditPage(template).start();
});
