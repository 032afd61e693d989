// The head of every page: who is logged in, and the way back after a login.
// SPDX-License-Identifier: MIT
import { readBlock } from "./dom.js";

if (readBlock("login")?.role === "administrator") {
  for (const link of document.querySelectorAll("[data-for=administrator]")) link.hidden = false;
}

const logIn = document.querySelector(".log-in");
if (logIn && !/^\/(login\.html|form\/|do\/)/.test(location.pathname)) {
  const next = encodeURIComponent(location.pathname + location.search);
  logIn.href = `/login.html?NextPage=${next}`;
}
