// Changes one's own password; the new one is compared with its repetition before it is sent.
// SPDX-License-Identifier: MIT
import { words } from "./dom.js";
import { prepareForm } from "./form_page.js";
import { showProblems } from "./problems.js";

const form = document.getElementById("password");

function check(event) {
  const { new: wanted, repeat } = form.elements;
  if (wanted.value === repeat.value) return;
  event.preventDefault();
  showProblems([{ control: repeat, text: words("password.error.repeat") }]);
}

prepareForm(form);
form.addEventListener("submit", check);
