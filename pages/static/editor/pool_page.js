// The list of a pool's templates: filtered as the user types, scan-driver templates on demand.
// SPDX-License-Identifier: MIT
import { element, readBlock, words } from "./dom.js";
import { timeElement } from "./measures.js";
import { mayChange, pageAddress, pagesFor, poolAddress, withoutSuffix } from "./pools.js";

const PAGE_WORDS = {
  edit: "action.edit",
  copy: "action.copy",
  rename: "action.rename",
  delete: "action.delete",
};

const TITLES = {
  "/tmp/template/pool/web": "pool.web",
  "/tmp/template/pool/mailbox": "pool.mailbox",
  "/tmp/template/pool/system": "pool.system",
  "/tmp/template/pool/factory": "pool.factory",
  "/tmp/template/pool": "pool.working",
};

const UPLOADS = ["web", "mailbox", "system"].map((name) => `/tmp/template/pool/${name}`);
const RESTORES = ["factory", "system"].map((name) => `/tmp/template/pool/${name}`);

const directory = new URLSearchParams(location.search).get("TemplateDir") ?? "";
const login = readBlock("login");
const list = document.getElementById("templates");
const filter = document.getElementById("filter");
const drivers = document.getElementById("drivers");
const count = document.getElementById("count");

function pageLink(page, path, name) {
  const label = words(PAGE_WORDS[page]);
  const attributes = { href: pageAddress(page, path), "aria-label": `${label} ${name}` };
  return element("a", attributes, label);
}

function row(fileName, isDriver) {
  const name = withoutSuffix(fileName);
  const path = `${directory}/${fileName}`;
  const [view, ...others] = pagesFor(path, login);
  const offered = others.filter((page) => page in PAGE_WORDS);
  if (!view) return element("li", {}, name, " ", element("small", {}, words("list.unreachable")));
  const attributes = { class: isDriver ? "driver" : false };
  return element(
    "li",
    attributes,
    element("a", { class: "name", href: pageAddress(view, path) }, name),
    element("span", { class: "actions" }, ...offered.map((page) => pageLink(page, path, name))),
  );
}

/** The rows of all templates, sorted as people sort names, each with the text that is searched. */
function makeRows() {
  const people = new Set(readBlock("templates-of-people"));
  const { compare } = new Intl.Collator(document.documentElement.lang, { numeric: true });
  const names = readBlock("templates-of-all").sort(compare);
  return names.map((name) => {
    const isDriver = !people.has(name);
    return { text: withoutSuffix(name).toLocaleLowerCase(), isDriver, item: row(name, isDriver) };
  });
}

/** A template that is not there any more but can be made again. */
function deletedRow({ name: fileName, time, who }) {
  const name = withoutSuffix(fileName);
  const change = words("history.delete", who === "" ? words("history.device") : who);
  if (fileName.includes("\uFFFD"))
    return element("li", {}, name, " ", element("small", {}, words("list.unreachable")));
  return element(
    "li",
    {},
    element("a", { class: "name", href: pageAddress("history", `${directory}/${fileName}`) }, name),
    element("span", { class: "change" }, change, " ", timeElement(time)),
  );
}

function showDeleted() {
  const deleted = readBlock("deleted") ?? [];
  const section = document.getElementById("deleted-templates");
  section.hidden = deleted.length === 0;
  section.querySelector("ul").append(...deleted.map(deletedRow));
}

const rows = makeRows();

function show() {
  const wanted = filter.value.trim().toLocaleLowerCase();
  let shown = 0;
  for (const { text, isDriver, item } of rows) {
    item.hidden = (isDriver && !drivers.checked) || !text.includes(wanted);
    if (!item.hidden) shown += 1;
  }
  count.textContent = words(rows.length === 0 ? "list.empty" : "list.count", shown, rows.length);
}

/** The ways to bring templates here that this visitor has. */
function showOffers() {
  const upload = document.getElementById("upload");
  upload.href = `/upload.html?TemplateDir=${encodeURIComponent(directory)}`;
  upload.hidden = !UPLOADS.includes(directory) || !mayChange(`${directory}/`, login);
  const restores = RESTORES.includes(directory) && login?.role === "administrator";
  document.getElementById("restore").hidden = !restores;
}

const title = words(TITLES[directory] ?? "pool.other");
document.getElementById("pool").textContent = title;
document.getElementById("path").textContent = directory;
document.title = `${title} · Platen`;
for (const link of document.querySelectorAll(".pools a")) {
  if (link.getAttribute("href") === poolAddress(directory)) link.ariaCurrent = "page";
}
drivers.closest("label").hidden = !rows.some(({ isDriver }) => isDriver);
showDeleted();
showOffers();
list.append(...rows.map(({ item }) => item));
filter.addEventListener("input", show);
drivers.addEventListener("change", show);
show();
