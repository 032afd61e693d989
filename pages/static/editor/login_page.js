// The login: the host knows where it leads to.
// SPDX-License-Identifier: MIT
import { prepareForm } from "./form_page.js";
import { focusReason } from "./marks.js";

const form = document.getElementById("login-form");

// The login is also shown in answer to other forms, whose fields are not its own.
if (location.pathname === new URL(form.action).pathname) {
  prepareForm(form);
} else {
  form.elements.name.focus();
  focusReason();
}
