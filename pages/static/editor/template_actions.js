// The pages of one template, and the way back to its list.
// SPDX-License-Identifier: MIT
import { readBlock } from "./dom.js";
import { addressFor, directoryOf, pagesFor, poolAddress } from "./pools.js";
import { templatePath } from "./typed.js";

// What can be done with a file that cannot be opened.
const WITHOUT_TEMPLATE = ["template", "history", "restore", "download", "delete"];

// What can be done with a file that was deleted.
const WITHOUT_FILE = ["history", "restore"];

const path = templatePath();

/** False on a page that shows a template which could not be opened. */
const isReadable = document.getElementById("template") === null || readBlock("template") !== null;

/** False on a page that knows the template's file to be gone. */
const isPresent = readBlock("versions")?.present !== false;

function possible(page) {
  if (!isPresent) return WITHOUT_FILE.includes(page);
  return isReadable || WITHOUT_TEMPLATE.includes(page);
}

function show(link) {
  const { page } = link.dataset;
  const isCurrent = readBlock("page") === `/${page}.html`;
  link.href = addressFor(page, path);
  link.hidden = !isCurrent && !possible(page);
  if (isCurrent) link.ariaCurrent = "page";
}

if (path !== "") {
  const offered = pagesFor(path, readBlock("login"));
  for (const link of document.querySelectorAll("a[data-page]")) {
    if (offered.includes(link.dataset.page)) show(link);
  }
  document.getElementById("back").href = poolAddress(directoryOf(path));
}
