// Fills the template page: the values as script and JSON hold them, and the whole file as a list.
// SPDX-License-Identifier: MIT
"use strict";

// What separates the items of a list that is printed as one text.
const separatorOf = (attribute) => (attribute === "PhoneNumber" ? ";" : ",");

const readJson = (id) => JSON.parse(document.getElementById(id).textContent);

function element(name, properties = {}, ...children) {
  const created = Object.assign(document.createElement(name), properties);
  created.append(...children);
  return created;
}

// A value as text; a list as one item a line.
function valueList(values) {
  if (values.length === 1) return element("span", { className: "value", textContent: values[0] });
  const items = values.map((value) => element("li", { className: "value", textContent: value }));
  return element("ul", { className: "values" }, ...items);
}

function compareRow(row, values, scriptValues, words) {
  const attribute = row.dataset.attribute;
  const cell = (way) => row.querySelector(`[data-way="${way}"]`);
  const items = values[attribute];
  cell("script").textContent = scriptValues[attribute];
  if (items.length === 0) return;
  cell("json").append(valueList(items));
  const text = cell("text").textContent;
  const same = text === scriptValues[attribute] && text === items.join(separatorOf(attribute));
  const verdict = same ? words.identical : words.different;
  row.cells[0].append(
    element("span", { className: same ? "same" : "differs", title: verdict }, same ? " ✓" : " ✗"),
    element("span", { className: "unseen" }, ` ${verdict}`),
  );
}

function attributeRow(attribute, words) {
  const mark = attribute.compulsory ? `, ${words.compulsory}` : "";
  const values = attribute.values.length > 0
    ? valueList(attribute.values)
    : element("span", { className: "hint" }, words.noValue);
  return element(
    "div", {},
    element("dt", {}, attribute.name, element("small", {}, ` ${attribute.type}${mark}`)),
    element("dd", {}, values),
  );
}

function invocationList(invocation, words) {
  const rows = invocation.attributes.map((attribute) => attributeRow(attribute, words));
  return [element("h4", {}, invocation.name), element("dl", {}, ...rows)];
}

function serviceSection(service, words) {
  const lists = service.invocations.flatMap((invocation) => invocationList(invocation, words));
  return element("section", { className: "service" }, element("h3", {}, service.name), ...lists);
}

function showTemplate(template, words) {
  document.getElementById("path").textContent = template.file;
  const sections = template.services.map((service) => serviceSection(service, words));
  document.getElementById("services").append(
    ...(sections.length > 0 ? sections : [element("p", { className: "notice" }, words.empty)]),
  );
}

function show() {
  const { values: scriptValues, words } = globalThis.platen;
  const values = readJson("values");
  for (const row of document.querySelectorAll("tr[data-attribute]")) {
    compareRow(row, values, scriptValues, words);
  }
  showTemplate(readJson("template"), words);
}

// The script with the template's values is a page of its own, made for the same query.
if (readJson("template") !== null) {
  document.head.append(element("script", { src: `/template.js${location.search}`, onload: show }));
}
