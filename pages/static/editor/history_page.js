// The history of one template: its changes, what it held before each, and the way back to that.
// SPDX-License-Identifier: MIT
import { differenceView } from "./difference.js";
import { element, readBlock, words } from "./dom.js";
import { focusReason } from "./marks.js";
import { timeElement } from "./measures.js";
import { addressFor, mayChange, pageAddress } from "./pools.js";
import { postedValue, templatePath } from "./typed.js";

const path = templatePath();
const history = readBlock("versions");
const chosenId = postedValue("version") ?? new URLSearchParams(location.search).get("version");
const chosen = history?.versions.find(({ id }) => id === chosenId);

const versionAddress = (page, { id }) =>
  `${addressFor(page, path)}&version=${encodeURIComponent(id)}`;

/** "Saved by erika", say. */
function changeOf({ act, who }) {
  return words(`history.${act}`, who === "" ? words("history.device") : who);
}

function row(version) {
  const attributes = { class: "name", href: versionAddress("history", version) };
  if (version === chosen) attributes["aria-current"] = "true";
  const link = element("a", attributes, timeElement(version.time));
  return element("li", {}, link, element("span", { class: "change" }, changeOf(version)));
}

function showChanges() {
  const state = document.getElementById("state");
  if (history.versions.length === 0) state.textContent = words("history.empty");
  else if (!history.present) state.textContent = words("history.is-deleted");
  state.hidden = state.textContent === "";
  const changes = document.getElementById("changes");
  changes.querySelector("ol").append(...history.versions.map(row));
  changes.hidden = history.versions.length === 0;
}

function prepareBringBack() {
  const form = document.getElementById("bring-back");
  const fields = { ParserFilename: path, version: chosen.id, seen: history.seen };
  for (const [name, value] of Object.entries(fields)) form.elements[name].value = value;
  form.elements.NextPage.value = pageAddress("history", path);
  document.getElementById("undo").hidden = !history.present;
  if (!history.present) form.querySelector("button").textContent = words("history.make-again");
  form.hidden = !mayChange(path, readBlock("login"));
  document.getElementById("denied").hidden = !form.hidden;
}

function showChosen() {
  const section = document.getElementById("chosen");
  const title = document.getElementById("chosen-title");
  title.append(words("history.chosen"), " ", timeElement(chosen.time));
  const labels = { before: words("history.before"), after: words("history.now") };
  document.getElementById("shown").append(...differenceView(readBlock("difference"), labels));
  document.getElementById("download").href = versionAddress("download", chosen);
  prepareBringBack();
  section.hidden = false;
}

document.getElementById("path").textContent = path;
if (history !== null) showChanges();
if (chosen) showChosen();
focusReason();
