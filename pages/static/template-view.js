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

// The values of one attribute in the three ways, and whether they are the same.
function wayRow(attribute, items, scriptValue, words) {
  const shown = document.querySelector(`[data-attribute="${attribute}"]`);
  const text = shown.querySelector("dd").textContent;
  const same = text === scriptValue && text === items.join(separatorOf(attribute));
  const verdict = element(
    "span", { className: same ? "same" : "differs" }, same ? words.identical : words.different);
  const headings = [...document.querySelectorAll("#ways th")].slice(1);
  const cells = [text, scriptValue, valueList(items)].map((content, index) => {
    const cell = element("td", {}, content);
    cell.dataset.label = headings[index].textContent;
    return cell;
  });
  const name = shown.querySelector("dt").textContent;
  return element("tr", {}, element("th", { scope: "row" }, name, verdict), ...cells);
}

function showWays(values, scriptValues, words) {
  const present = Object.entries(values).filter(([, items]) => items.length > 0);
  if (present.length === 0) return;
  const ways = document.getElementById("ways");
  ways.querySelector("tbody").append(
    ...present.map(([attribute, items]) =>
      wayRow(attribute, items, scriptValues[attribute], words)),
  );
  ways.hidden = false;
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

function showEverything(template, words) {
  document.getElementById("path").textContent = template.file;
  const sections = template.services.map((service) => serviceSection(service, words));
  const everything = document.getElementById("everything");
  everything.append(
    ...(sections.length > 0 ? sections : [element("p", { className: "notice" }, words.empty)]),
  );
  everything.hidden = false;
}

function show() {
  const { values: scriptValues, words } = globalThis.platen;
  showEverything(readJson("template"), words);
  showWays(readJson("values"), scriptValues, words);
}

// The script with the template's values is a page of its own, made for the same query.
if (readJson("template") !== null) {
  document.head.append(element("script", { src: `/template.js${location.search}`, onload: show }));
}
