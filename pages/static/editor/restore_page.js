// The factory templates beside those in use: what differs, and the restore of one.
// SPDX-License-Identifier: MIT
import { Destination } from "./destination.js";
import { differenceView } from "./difference.js";
import { element, readBlock, words } from "./dom.js";
import { prepareForm, setNextPage } from "./form_page.js";
import { FACTORY, PROTECTED, fileNameOf, pageAddress, withoutSuffix } from "./pools.js";
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
const form = document.getElementById("restore");
const destination = new Destination();

const isProtected = ({ name }) => name === fileNameOf(PROTECTED);

function stateOf(template) {
  const states = Object.values(POOLS)
    .filter((pool) => pool === "system" || template[pool] !== "missing")
    .map((pool) => `${words(`pool.${pool}`)}: ${words(`restore.${template[pool]}`)}`);
  return [...states, ...(isProtected(template) ? [words("restore.protected")] : [])].join(" · ");
}

function row(template) {
  const href = pageAddress("restore", `${FACTORY}/${template.name}`);
  const attributes = { class: "name", href };
  if (template === chosen) attributes["aria-current"] = "true";
  const link = element("a", attributes, withoutSuffix(template.name));
  return element("li", {}, link, element("span", { class: "change" }, stateOf(template)));
}

/** Offers to replace a template that is there, and nothing where none is. */
function offerReplacement() {
  const there = templates.find(({ name }) => `${destination.directory}/${name}` === destination.path);
  const isThere = there !== undefined && there[POOLS[destination.directory]] !== "missing";
  destination.replaceBox.closest("label").hidden = !isThere;
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
  destination.name.value = withoutSuffix(chosen.name);
  const isOfMailbox = chosen.system === "missing" && chosen.mailbox !== "missing";
  destination.choose(`/tmp/template/pool/${isOfMailbox ? "mailbox" : "system"}`);
  offerReplacement();
  destination.refill();
  prepareForm(form, (name) => destination.controlOf(name));
  for (const control of [destination.name, destination.pool])
    control.addEventListener("input", offerReplacement);
  form.addEventListener("submit", complete);
  form.hidden = false;
}

function showChosen() {
  document.getElementById("chosen-title").textContent = withoutSuffix(chosen.name);
  const difference = readBlock("difference");
  const labels = { before: words("restore.shipped"), after: words("restore.used") };
  if (difference?.after) {
    document.getElementById("shown").append(...differenceView(difference, labels));
  }
  document.getElementById("protected").hidden = !isProtected(chosen);
  if (!isProtected(chosen)) prepareRestore();
  document.getElementById("chosen").hidden = false;
}

document.getElementById("templates").append(...templates.map(row));
document.getElementById("none").hidden = templates.length > 0;
if (chosen) showChosen();
