// Tells on the template page in short where the scans go and what the device asks for.
// SPDX-License-Identifier: MIT
import { element, readBlock } from "./dom.js";
import { filingAddress } from "./filing.js";

function addressOf([, protocol, server, path, , volume]) {
  return filingAddress({ protocol, server, volume, path });
}

/** Lists `texts`, those that are not empty, in the part of the summary of that name. */
function list(name, texts) {
  const items = texts.filter(Boolean).map((text) => element("li", { class: "value" }, text));
  if (items.length === 0) return;
  const part = document.querySelector(`[data-summary="${name}"]`);
  part.querySelector("ul").append(...items);
  part.hidden = false;
  part.closest("section").hidden = false;
}

list("destinations", readBlock("destinations").map(addressOf));
list("metadata", readBlock("metadata").map(({ fieldLabel }) => fieldLabel));
