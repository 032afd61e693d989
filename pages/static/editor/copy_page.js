// Copies a template to a new name.
// SPDX-License-Identifier: MIT
import { Destination } from "./destination.js";
import { words } from "./dom.js";
import { aboutTemplate, prepareForm, setNextPage } from "./form_page.js";
import { fileNameOf, poolAddress, withoutSuffix } from "./pools.js";
import { showProblems } from "./problems.js";
import { templatePath } from "./typed.js";

const path = templatePath();
const form = document.getElementById("copy");
const destination = new Destination();

function complete(event) {
  const problem = destination.problem();
  if (problem) {
    event.preventDefault();
    showProblems([problem]);
    return;
  }
  setNextPage(form, poolAddress(destination.directory));
  document.getElementById("sent").replaceChildren(...destination.fields());
}

aboutTemplate(form, path);
destination.suggest(path, words("copy.suggestion", withoutSuffix(fileNameOf(path))));
destination.refill();
prepareForm(form, (name) => destination.controlOf(name));
form.addEventListener("submit", complete);
