// Shows the audit trail: the entries that the address asks for, and what leads to others.
// SPDX-License-Identifier: MIT
import { element, readBlock, words } from "./dom.js";
import { timeElement } from "./measures.js";
import { labelledRow } from "./tables.js";

const TIMES = ["from", "to"];

const asked = new URLSearchParams(location.search);
const form = document.getElementById("filter");
const table = document.getElementById("entries");
const { entries, page, hasOlder } = readBlock("audit");

/** A time of the address, which is in UTC, as the visitor's clock shows it, and the other way. */
function localTime(text) {
  const time = new Date(text.includes("T") && !text.endsWith("Z") ? `${text}Z` : text);
  if (Number.isNaN(time.valueOf())) return "";
  return new Date(time - time.getTimezoneOffset() * 60_000).toISOString().slice(0, 16);
}

const universalTime = (text) => `${new Date(text).toISOString().slice(0, 16)}Z`;

function fillForm() {
  for (const [name, value] of asked) {
    const control = form.elements[name];
    if (!control || value === "") continue;
    control.value = TIMES.includes(name) ? localTime(value) : value;
    // An action without a name of its own is asked for by its address.
    if (control.value === "" && control.options) control.add(new Option(value, value, true, true));
  }
}

/** Sends what is filled in, and nothing else. */
function complete({ formData }) {
  for (const [name, value] of [...formData]) {
    if (value === "") formData.delete(name);
    else if (TIMES.includes(name)) formData.set(name, universalTime(value));
  }
}

function actionText(action) {
  const option = [...form.elements.action.options].find(({ value }) => value === action);
  return option?.text ?? action;
}

/** How it ended: "done", or "refused" or "failed" with what was told. */
function outcomeCell(outcome) {
  const [, kind, , reason] = outcome.match(/^(done|refused|failed)(: ([^]*))?$/) ?? [];
  if (kind === undefined) return outcome;
  const mark = element("span", { class: kind === "done" ? "same" : "differs" }, words(`audit.${kind}`));
  return reason ? [mark, " ", reason] : [mark];
}

function row(entry) {
  const who = entry.login === "" ? words("audit.nobody") : entry.login;
  const address = entry.address === "" ? [] : [" ", element("small", {}, entry.address)];
  return labelledRow(table, [
    timeElement(entry.time),
    [who, ...address],
    actionText(entry.action),
    entry.object,
    outcomeCell(entry.outcome),
  ]);
}

function address(path, field, value) {
  const query = new URLSearchParams(asked);
  query.delete("page");
  query.set(field, value);
  return `${path}?${query}`;
}

function lead(id, number, isThere) {
  const link = document.getElementById(id);
  link.href = address("/audit.html", "page", number);
  link.hidden = !isThere;
}

fillForm();
document.getElementById("filter-box").open = [...form.elements].some(({ value }) => value !== "");
form.addEventListener("formdata", complete);
table.tBodies[0].append(...entries.map(row));
table.hidden = entries.length === 0;
document.getElementById("none").hidden = entries.length > 0;
lead("newer", page - 1, page > 1);
lead("older", page + 1, hasOlder);
for (const format of ["csv", "jsonl"]) {
  document.getElementById(format).href = address("/download/audit", "format", format);
}
