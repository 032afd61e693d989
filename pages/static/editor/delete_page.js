// Asks before a template's file is deleted.
// SPDX-License-Identifier: MIT
import { words } from "./dom.js";
import { aboutTemplate, prepareForm, setNextPage } from "./form_page.js";
import { directoryOf, fileNameOf, poolAddress } from "./pools.js";
import { templatePath } from "./typed.js";

const path = templatePath();
const form = document.getElementById("delete");

document.getElementById("question").textContent = words("delete.question", fileNameOf(path));
aboutTemplate(form, path);
setNextPage(form, poolAddress(directoryOf(path)));
prepareForm(form);
