// What may be done with the template that the template page shows.
// SPDX-License-Identifier: MIT
import { readBlock } from "./dom.js";
import { directoryOf, pageAddress, pagesFor, poolAddress } from "./pools.js";
import { templatePath } from "./typed.js";

const path = templatePath();

// A file that cannot be opened can still be deleted.
const WITHOUT_TEMPLATE = ["delete"];

if (path !== "") {
  const allowed = pagesFor(path, readBlock("login"));
  const isOpen = readBlock("template") !== null;
  const offered = allowed.filter((page) => isOpen || WITHOUT_TEMPLATE.includes(page));
  for (const link of document.querySelectorAll("a[data-page]")) {
    link.href = pageAddress(link.dataset.page, path);
    link.hidden = !offered.includes(link.dataset.page);
  }
  document.getElementById("back").href = poolAddress(directoryOf(path));
}
