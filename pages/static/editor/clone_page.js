// Chooses what goes into a clone file, and shows what one that was read in would change.
// SPDX-License-Identifier: MIT
import { differenceView } from "./difference.js";
import { element, readBlock, words } from "./dom.js";
import { prepareForm } from "./form_page.js";
import { focusReason } from "./marks.js";
import { timeElement } from "./measures.js";
import { postedValue, typed } from "./typed.js";

const byId = (id) => document.getElementById(id);

// ---- The groups. ----

function counted(kind, count) {
  return words(`clone.${kind}.${count === 1 ? "one" : "some"}`, String(count));
}

const isHolding = ({ templates, settings }) => templates + settings > 0;

function contentsText(entry) {
  const parts = ["templates", "settings"].filter((kind) => entry[kind] > 0);
  return parts.map((kind) => counted(kind, entry[kind])).join(", ");
}

/** A line with a switch, or without one where there is nothing to switch. */
function entryLine(entry, isChoice, chosen) {
  const text = [entry.name];
  const contents = contentsText(entry);
  if (contents) text.push(" ", element("small", {}, contents));
  else if (!isChoice) text.push(" ", element("small", {}, words("clone.empty")));
  const label = element("span", {}, ...text);
  if (!isChoice) return element("p", { class: "box" }, label);
  const box = element("input", { type: "checkbox", role: "switch", value: String(entry.token) });
  box.checked = chosen.has(String(entry.token));
  return element("label", { class: "box" }, box, label);
}

/** A group with its sub-groups: its own switch moves theirs, and shows whether all are on. */
function groupView(group, chosen) {
  const holding = group.subs.filter(isHolding);
  const head = entryLine(group, holding.length > 0 || isHolding(group), chosen);
  const lines = group.subs.map((sub) => element("li", {}, entryLine(sub, isHolding(sub), chosen)));
  const list = lines.length > 0 ? [element("ul", {}, ...lines)] : [];
  const view = element("div", { class: "clone-group" }, head, ...list);
  const own = head.querySelector("input");
  const subs = [...view.querySelectorAll("li input")];
  const settle = () => {
    if (subs.length > 0) own.checked = subs.every(({ checked }) => checked);
  };
  own?.addEventListener("change", () => subs.forEach((sub) => (sub.checked = own.checked)));
  subs.forEach((sub) => sub.addEventListener("change", settle));
  return view;
}

function checkedValues(container) {
  return [...container.querySelectorAll("input:checked")].map(({ value }) => value).join(" ");
}

function postedNumbers(name) {
  return new Set((postedValue(name) ?? "").split(" "));
}

function showStart({ groups, leftOut, fault }) {
  const form = byId("make");
  const chosen = postedNumbers("groups");
  byId("groups").append(...groups.map((group) => groupView(group, chosen)));
  byId("groups-none").hidden = groups.length > 0;
  byId("make-button").disabled = groups.length === 0 || fault !== null;
  const reasons = [...(fault ? [fault] : []), ...leftOut];
  byId("left-out-list").append(...reasons.map((reason) => element("li", {}, reason)));
  byId("left-out").hidden = reasons.length === 0;
  byId("leave-out").hidden = typed?.field !== "leaveOut";
  form.addEventListener("submit", () => {
    form.elements.groups.value = checkedValues(byId("groups"));
  });
  if (typed?.field === "file") prepareForm(byId("read"));
  else focusReason();
  byId("start").hidden = false;
}

// ---- What a file would change. ----

const isApplicable = ({ state }) => state === "new" || state === "different";

const shortName = ({ kind, name }) =>
  kind === "template" ? name.slice(name.lastIndexOf("/") + 1) : name;

function settingRows({ before, after }) {
  const row = (label, value) => [element("dt", {}, words(label)), element("dd", {}, value)];
  return element(
    "dl",
    {},
    ...row("clone.now", before ?? words("clone.unset")),
    ...row("clone.then", after),
  );
}

function changeOf(item) {
  if (item.kind === "setting") return [settingRows(item)];
  if (item.state !== "different") return [];
  const labels = { before: words("clone.now"), after: words("clone.then") };
  const summary = element("summary", {}, words("clone.details"));
  return [element("details", {}, summary, ...differenceView(item.difference, labels))];
}

function itemView(item, chosen) {
  const state = element("small", { class: `state ${item.state}` }, words(`clone.${item.state}`));
  const name = element("span", {}, shortName(item), " ", state);
  const box = element("input", { type: "checkbox", value: String(item.number) });
  box.checked = chosen === null || chosen.has(String(item.number));
  const head = isApplicable(item)
    ? element("label", { class: "box" }, box, name)
    : element("p", { class: "box" }, name);
  const note = item.note ? [element("p", { class: "hint" }, item.note)] : [];
  return element("li", {}, head, ...note, ...changeOf(item));
}

function groupSection(name, items, chosen) {
  const same = items.filter(({ state }) => state === "same");
  const others = items.filter(({ state }) => state !== "same");
  const content = [];
  if (others.length > 0) {
    const views = others.map((item) => itemView(item, chosen));
    content.push(element("ul", { class: "clone-items" }, ...views));
  }
  if (same.length > 0) {
    content.push(element("p", { class: "hint" }, words("clone.same"), " ", same.map(shortName).join(", ")));
  }
  return element("section", { class: "card" }, element("h2", {}, name), ...content);
}

function leftOutLine({ name, reason }) {
  return element("p", { class: "hint" }, words("clone.left-out.file", name, reason));
}

function showSummary(summary) {
  const form = byId("apply");
  const chosen = postedValue("items") === undefined ? null : postedNumbers("items");
  const groups = new Map();
  for (const item of summary.items.toSorted((one, other) => one.token - other.token)) {
    groups.set(item.group, [...(groups.get(item.group) ?? []), item]);
  }
  const sections = [...groups].map(([name, items]) => groupSection(name, items, chosen));
  byId("items").append(...sections, ...summary.leftOut.map(leftOutLine));
  if (!summary.items.some(isApplicable)) {
    byId("items").append(element("p", {}, words("clone.nothing")));
    byId("apply-button").hidden = true;
  }
  byId("made").replaceChildren(timeElement(summary.made));
  form.elements.upload.value = summary.upload;
  form.elements.digest.value = summary.digest;
  form.addEventListener("submit", () => {
    form.elements.items.value = checkedValues(byId("items"));
  });
  focusReason();
  byId("review").hidden = false;
}

const asked = new URLSearchParams(location.search).has("upload") || postedValue("upload");
const summary = readBlock("summary");
if (summary) showSummary(summary);
else if (asked) byId("gone").hidden = false;
else showStart(readBlock("clone"));
