// Shows how the server does: its processes, its disks, and the templates that nobody can open.
// SPDX-License-Identifier: MIT
import { element, readBlock, words } from "./dom.js";
import { durationText, numberText, sizeText, timeElement } from "./measures.js";
import { addressFor } from "./pools.js";
import { labelledRow } from "./tables.js";

const { version, processes, poolGeneration, disks, templates } = readBlock("status");

const fill = (id, ...content) => document.getElementById(id).replaceChildren(...content);

function showServer() {
  const uptime = element("small", {}, `(${durationText(processes.uptime)})`);
  fill("version", version);
  fill("started", timeElement(processes.started), " ", uptime);
  for (const id of ["requests", "refusals", "failures"]) fill(id, numberText(processes[id]));
  fill("generation", numberText(poolGeneration));
}

function diskRow({ names, free, size, isLow }) {
  const space = words("status.free", sizeText(free), sizeText(size));
  const warning = isLow ? [element("p", { class: "error" }, words("status.low"))] : [];
  const title = names.map((name) => words(`status.${name}`)).join(", ");
  return element("div", {}, element("dt", {}, title), element("dd", {}, space, ...warning));
}

function workerRow({ process, request, served, age }) {
  const state = request ?? words("status.idle");
  const cells = [String(process), state, numberText(served), durationText(age)];
  return labelledRow(document.getElementById("workers"), cells);
}

function endRow({ time, cause, request, line }) {
  const cells = [timeElement(time), cause, request, line === "" ? "" : element("code", {}, line)];
  return labelledRow(document.getElementById("ends"), cells);
}

function showProcesses() {
  showServer();
  document.getElementById("workers").tBodies[0].append(...processes.workers.map(workerRow));
  for (const [cause, count] of Object.entries(processes.restarts)) fill(cause, numberText(count));
  const ends = document.getElementById("ends");
  ends.tBodies[0].append(...processes.ends.map(endRow));
  ends.hidden = processes.ends.length === 0;
}

/** A template that cannot be opened, with the place of the fault, and where to see and mend it. */
function brokenItem({ file, reason }) {
  const link = (page, text) => element("a", { href: addressFor(page, file) }, text);
  const pages = [link("template", words("action.view")), link("history", words("action.history"))];
  const actions = element("span", { class: "actions" }, ...pages);
  return element("li", {}, element("code", {}, reason), actions);
}

function showTemplates() {
  const { checked, isComplete, broken } = templates;
  const sound = document.getElementById("sound");
  sound.textContent = words("status.broken.none", numberText(checked));
  sound.hidden = broken.length > 0 || !isComplete;
  document.getElementById("broken-hint").hidden = broken.length === 0;
  fill("broken-list", ...broken.map(brokenItem));
  if (!isComplete) fill("broken-more", words("status.broken.more", numberText(checked)));
}

showTemplates();
fill("disks", ...disks.map(diskRow));
if (processes !== null) showProcesses();
