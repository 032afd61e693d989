// The factory templates beside those in use: what differs, and the restore of one.
// SPDX-License-Identifier: MIT
import { Destination } from "./destination.js";
import { differenceView } from "./difference.js";
import { element, readBlock, words } from "./dom.js";
import { fileNameFor } from "./file_names.js";
import { prepareForm, setNextPage } from "./form_page.js";
import {
  FACTORY,
  PROTECTED,
  directoryOf,
  fileNameOf,
  pageAddress,
  withoutSuffix,
} from "./pools.js";
import { showProblems } from "./problems.js";
import { templatePath } from "./typed.js";

// The pools that a factory template may be restored to, and what the host calls them.
const POOLS = {
  "/tmp/template/pool/system": "system",
  "/tmp/template/pool/mailbox": "mailbox",
};

const templates = readBlock("factory") ?? [];
const path = templatePath();
const chosen = templates.find(({ name }) => `${FACTORY}/${name}` === path);
const difference = readBlock("difference");
const form = document.getElementById("restore");
const destination = new Destination();

const isProtected = ({ name }) => name === fileNameOf(PROTECTED);

function stateOf(template) {
  const states = Object.values(POOLS).map(
    (pool) => `${words(`pool.${pool}`)}: ${words(`restore.${template[pool]}`)}`,
  );
  return [...states, ...(isProtected(template) ? [words("restore.protected")] : [])].join(" · ");
}

function row(template) {
  const href = pageAddress("restore", `${FACTORY}/${template.name}`);
  const attributes = { class: "name", href };
  if (template === chosen) attributes["aria-current"] = "true";
  const link = element("a", attributes, withoutSuffix(template.name));
  return element("li", {}, link, element("span", { class: "change" }, stateOf(template)));
}

/** The path of the template that the factory's is compared with, there or not. */
function comparedPath() {
  if (difference?.after) return difference.after.file;
  const asked = new URLSearchParams(location.search);
  const directory = asked.get("TemplateDir") ?? directoryOf(PROTECTED);
  return `${directory}/${asked.get("file") ?? chosen.name}`;
}

/** True when the template `target` is known to be there. */
function isThere(target) {
  const there = templates.find(({ name }) => name === fileNameOf(target));
  const state = there?.[POOLS[directoryOf(target)]] ?? "missing";
  return state !== "missing" || target === difference?.after?.file;
}

/** Offers to replace a template that is there, and to compare with another one than is shown. */
function offerForDestination() {
  destination.replaceBox.closest("label").hidden = !isThere(destination.path);
  const compare = document.getElementById("compare");
  compare.hidden = destination.path === comparedPath() || destination.problem() !== null;
  const query = new URLSearchParams({
    ParserFilename: path,
    TemplateDir: destination.directory,
    file: fileNameFor(destination.name.value),
  });
  compare.firstElementChild.href = `/restore.html?${query}`;
}

function complete(event) {
  const problem = destination.problem();
  if (problem) {
    event.preventDefault();
    showProblems([problem]);
    return;
  }
  setNextPage(form, pageAddress("template", destination.path));
  document.getElementById("sent").replaceChildren(...destination.fields());
}

function prepareRestore() {
  form.elements.ParserFilename.value = chosen.name;
  destination.suggest(comparedPath(), withoutSuffix(fileNameOf(comparedPath())));
  offerForDestination();
  destination.refill();
  prepareForm(form, (name) => destination.controlOf(name));
  for (const control of [destination.name, destination.pool])
    control.addEventListener("input", offerForDestination);
  form.addEventListener("submit", complete);
  form.hidden = false;
}

function showChosen() {
  document.getElementById("chosen-title").textContent = withoutSuffix(chosen.name);
  document.getElementById("used").textContent = comparedPath();
  document.getElementById("absent").hidden = difference?.after !== null;
  if (difference?.after) {
    const labels = { before: words("restore.shipped"), after: words("restore.used") };
    document.getElementById("shown").append(...differenceView(difference, labels));
  }
  document.getElementById("protected").hidden = !isProtected(chosen);
  if (!isProtected(chosen)) prepareRestore();
  document.getElementById("chosen").hidden = false;
}

document.getElementById("templates").append(...templates.map(row));
document.getElementById("none").hidden = templates.length > 0;
if (chosen) showChosen();
