// Lists the accounts, and lets an administrator add, disable, enable and reset them.
// SPDX-License-Identifier: MIT
import { element, readBlock, words } from "./dom.js";
import { prepareForm } from "./form_page.js";
import { focusReason } from "./marks.js";
import { postedValue } from "./typed.js";

const change = document.getElementById("change");
const own = readBlock("login")?.name;

function state({ disabled, mustChange }) {
  if (disabled) return words("accounts.disabled");
  return words(mustChange ? "accounts.must-change" : "accounts.active");
}

function action(what, name) {
  const label = words(`accounts.${what}`);
  const attributes = { type: "submit", form: "change", "data-what": what, "data-name": name };
  return element("button", { ...attributes, "aria-label": `${label}: ${name}` }, label);
}

function row(account) {
  const { name, role, disabled } = account;
  const actions = [action("reset", name), action(disabled ? "enable" : "disable", name)];
  return element(
    "tr",
    {},
    element("th", { scope: "row" }, name),
    element("td", {}, words(`accounts.role.${role}`)),
    element("td", {}, state(account)),
    element("td", { class: "actions" }, ...(name === own ? [] : actions)),
  );
}

/** Completes the form with what the pressed button stands for. */
function complete(event) {
  const { what, name } = event.submitter.dataset;
  change.elements.what.value = what;
  change.elements.name.value = name;
}

document.getElementById("accounts").append(...(readBlock("accounts-list") ?? []).map(row));
change.addEventListener("submit", complete);
if (postedValue("what") === "add") prepareForm(document.getElementById("add"));
else focusReason();
