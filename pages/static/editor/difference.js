// Shows what two templates hold differently, as a table: one line per attribute.
// SPDX-License-Identifier: MIT
//
// A page that uses it has the words of parts/difference-words.inc.
import { element, words } from "./dom.js";

const COLUMNS = 3;

/** How a row of the difference came about: "added", "removed" or "changed". */
function kindOf({ before, after }) {
  if (before === null) return "added";
  return after === null ? "removed" : "changed";
}

function valuesOf({ values }) {
  if (values.length === 0) return element("span", { class: "hint" }, words("difference.no-value"));
  if (values.length === 1) return element("span", { class: "value" }, values[0]);
  const items = values.map((value) => element("li", { class: "value" }, value));
  return element("ul", { class: "values" }, ...items);
}

/** Type and compulsory mark where they are what differs, or where the other side has nothing. */
function traitsOf(held, other) {
  const traits = [];
  if (held.type !== other?.type) traits.push(held.type);
  if (other ? held.compulsory !== other.compulsory : held.compulsory)
    traits.push(words(held.compulsory ? "difference.compulsory" : "difference.optional"));
  return traits.length === 0 ? [] : [element("small", {}, traits.join(", "))];
}

function cell(held, other, label) {
  const content =
    held === null
      ? [element("span", { class: "hint" }, words("difference.absent"))]
      : [valuesOf(held), ...traitsOf(held, other)];
  return element("td", { "data-label": label }, element("div", {}, ...content));
}

function attributeRow(row, labels) {
  const kind = kindOf(row);
  return element(
    "tr",
    { class: kind },
    element("th", { scope: "row" }, row.attribute, element("small", {}, words(`difference.${kind}`))),
    cell(row.before, row.after, labels.before),
    cell(row.after, row.before, labels.after),
  );
}

/** One body of the table per invocation, headed by its name. */
function bodiesOf(rows, labels) {
  const bodies = [];
  let last = null;
  for (const row of rows) {
    if (last?.service !== row.service || last.invocation !== row.invocation) {
      const name = [row.service, element("small", {}, row.invocation)];
      const head = element("th", { scope: "rowgroup", colspan: String(COLUMNS) }, ...name);
      bodies.push(element("tbody", {}, element("tr", { class: "group" }, head)));
    }
    bodies.at(-1).append(attributeRow(row, labels));
    last = row;
  }
  return bodies;
}

/**
 * The elements that show `difference`, as the host's tag of that name prints it. `labels` are the
 * headings of the two columns: {before, after}. Without a difference they say so.
 */
export function differenceView(difference, labels) {
  const { fault, attributes } = difference;
  if (fault !== null) return [element("p", { class: "reason" }, fault)];
  if (attributes.length === 0)
    return [element("p", { class: "notice" }, words("difference.none"))];
  const headings = [words("difference.attribute"), labels.before, labels.after];
  const head = headings.map((text) => element("th", { scope: "col" }, text));
  const table = element(
    "table",
    { class: "difference" },
    element("thead", {}, element("tr", {}, ...head)),
    ...bodiesOf(attributes, labels),
  );
  return [table];
}
