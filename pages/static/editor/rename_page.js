// Gives a template's file a new name in its pool.
// SPDX-License-Identifier: MIT
import { hiddenField, words } from "./dom.js";
import { fileNameFor, fileNameProblem } from "./file_names.js";
import { aboutTemplate, prepareForm, setNextPage } from "./form_page.js";
import { directoryOf, fileNameOf, poolAddress, withoutSuffix } from "./pools.js";
import { showProblems } from "./problems.js";
import { postedValue, templatePath, typed } from "./typed.js";

const FIELD = "NewName";

const path = templatePath();
const form = document.getElementById("rename");
const name = document.getElementById("new-name");
const replaceBox = form.elements.replace;

function complete(event) {
  const phrase = fileNameProblem(name.value, FIELD);
  if (phrase !== "") {
    event.preventDefault();
    showProblems([{ control: name, text: words(phrase) }]);
    return;
  }
  document.getElementById("sent").replaceChildren(hiddenField(FIELD, fileNameFor(name.value)));
}

aboutTemplate(form, path);
setNextPage(form, poolAddress(directoryOf(path)));
name.value = withoutSuffix(postedValue(FIELD) ?? fileNameOf(path));
replaceBox.closest("label").hidden = typed?.field !== replaceBox.name;
prepareForm(form, (field) => (field === FIELD ? name : form.elements[field]));
form.addEventListener("submit", complete);
