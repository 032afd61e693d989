// Uploads the file of one template.
// SPDX-License-Identifier: MIT
import { readBlock, words } from "./dom.js";
import { fileNameFor, fileNameProblem } from "./file_names.js";
import { prepareForm, setNextPage } from "./form_page.js";
import { fileNameOf, pageAddress, poolAddress, withoutSuffix } from "./pools.js";
import { showProblems } from "./problems.js";
import { postedValue, typed } from "./typed.js";

const ROOT = "/tmp/template/pool";
const LARGEST = 4 * 1024 * 1024;

const form = document.getElementById("upload");
const file = document.getElementById("file");
const name = document.getElementById("destination-name");
const pool = document.getElementById("pool");
const replace = document.getElementById("destination-replace");

function fileProblem() {
  const [chosen] = file.files;
  if (!chosen) return "upload.error.missing";
  return chosen.size > LARGEST ? "upload.error.large" : "";
}

function problems() {
  const found = [
    { control: file, phrase: fileProblem() },
    { control: name, phrase: fileNameProblem(name.value, "name") },
  ];
  return found
    .filter(({ phrase }) => phrase !== "")
    .map(({ control, phrase }) => ({ control, text: words(phrase) }));
}

function complete(event) {
  const found = problems();
  if (found.length > 0) {
    event.preventDefault();
    showProblems(found);
    return;
  }
  const fileName = fileNameFor(name.value);
  form.elements.name.value = fileName;
  setNextPage(form, pageAddress("template", `${ROOT}/${pool.value}/${fileName}`));
}

/** Only the pools that the visitor may change stand in the list. */
function offerPools() {
  const role = readBlock("login")?.role;
  for (const option of pool.querySelectorAll("[data-for]")) {
    if (option.dataset.for !== role) option.remove();
  }
  const asked = new URLSearchParams(location.search).get("TemplateDir");
  const wanted = [...pool.options].find(({ value }) => `${ROOT}/${value}` === asked);
  if (wanted) pool.value = wanted.value;
}

const controls = { name, file, pool, replace };

offerPools();
document.getElementById("cancel").href = poolAddress(`${ROOT}/${pool.value}`);
prepareForm(form, (field) => controls[field] ?? null);
name.value = withoutSuffix(postedValue("name") ?? "");
replace.closest("label").hidden = typed?.field !== "replace";
file.addEventListener("change", () => {
  if (file.files.length > 0) name.value = withoutSuffix(fileNameOf(file.files[0].name));
});
form.addEventListener("submit", complete);
