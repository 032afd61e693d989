// The head of every page: where one is, who is logged in, and the way back after a login.
// SPDX-License-Identifier: MIT
import { readBlock } from "./dom.js";

// The page that is shown; its address is that of a form when it answers one.
const page = readBlock("page");

// The pages that belong to no place of the navigation.
const APART = ["/login.html", "/password.html", "/accounts.html"];

/** The link of the place that the page belongs to; templates are the place of all others. */
function placeOf(links) {
  if (APART.includes(page)) return undefined;
  const named = links.find(({ pathname }) => pathname !== "/" && page.startsWith(pathname));
  return named ?? links.find(({ pathname }) => pathname === "/");
}

function markPlace() {
  const place = placeOf([...document.querySelectorAll(".places a")]);
  if (place) place.ariaCurrent = place.pathname === page ? "page" : "true";
  for (const link of document.querySelectorAll(".account a")) {
    if (link.pathname === page) link.ariaCurrent = "page";
  }
}

if (readBlock("login")?.role === "administrator") {
  for (const link of document.querySelectorAll("[data-for=administrator]")) link.hidden = false;
}

markPlace();

const logIn = document.querySelector(".log-in");
if (logIn && location.pathname === page && page !== logIn.pathname) {
  const next = encodeURIComponent(location.pathname + location.search);
  logIn.href = `/login.html?NextPage=${next}`;
}
