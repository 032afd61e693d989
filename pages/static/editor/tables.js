// Tables that become lists on a phone.
// SPDX-License-Identifier: MIT
import { element } from "./dom.js";

/** A row of `table`, each cell labelled by its column's heading; a cell is a node, a text or several. */
export function labelledRow(table, cells) {
  const headings = [...table.tHead.rows[0].cells].map((heading) => heading.textContent);
  return element(
    "tr",
    {},
    ...cells.map((cell, column) =>
      element("td", { "data-label": headings[column] }, element("div", {}, ...[cell].flat())),
    ),
  );
}
