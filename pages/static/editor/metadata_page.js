// The metadata fields that the device asks for: a table, and a preview of what it will show.
// SPDX-License-Identifier: MIT
import { METADATA } from "./attributes.js";
import { element, words } from "./dom.js";
import { openDraftPage } from "./draft_page.js";
import { EntriesPage, EntryView } from "./entries_page.js";

const NAMES = [
  "MetaDataPrompt",
  "MetaDataFieldName",
  "MetaDataDefaultValue",
  "MetaDataRequiredEntry",
  "MetaDataMaskingRequired",
  "MetaDataValidationRequired",
];

const UNMASKED = ["", "NO_MASK"];

/** A row of the table. */
class MetadataRow extends EntryView {
  constructor(invocation, page, number) {
    super(invocation, page, number);
    this.title = this.text("MetaDataPrompt") || words("metadata.field", number);
    this.node = element("tr", { class: "entry" });
    if (invocation.isRemoved) {
      this.node.append(element("td", { colspan: String(NAMES.length + 1) }, this.removedText()));
      return;
    }
    const cells = this.slotViews(number).map(({ node }) => element("td", {}, node));
    this.node.append(...cells, element("td", {}, this.removeButton()));
  }
}

/** What the device shows for one field. */
function previewItem(row) {
  const isRequired = row.text("MetaDataRequiredEntry") === "TRUE";
  const isMasked = !UNMASKED.includes(row.text("MetaDataMaskingRequired"));
  const isValidated = row.text("MetaDataValidationRequired") === "TRUE";
  const start = row.text("MetaDataDefaultValue");
  const mark = isRequired ? [element("span", { class: "mark" }, words("metadata.required"))] : [];
  const dots = element("span", { "aria-hidden": "true" }, "•".repeat([...start].length));
  const hidden = element("span", { class: "unseen" }, words("metadata.masked"));
  const entry = isMasked && start !== "" ? [dots, hidden] : [start];
  const notes = [
    ...(isMasked ? [words("metadata.is-masked")] : []),
    ...(isValidated ? [words("metadata.is-validated")] : []),
  ];
  return element(
    "li",
    {},
    element("span", { class: "prompt" }, row.text("MetaDataPrompt") || "…", " ", ...mark),
    element("span", { class: "typing" }, ...entry),
    element("small", {}, notes.join(" · ")),
  );
}

/** The metadata fields of one template. */
class MetadataPage extends EntriesPage {
  constructor(template) {
    super(template, {
      service: METADATA,
      names: NAMES,
      start: {
        MetaDataRequiredEntry: "FALSE",
        MetaDataMaskingRequired: "NO_MASK",
        MetaDataValidationRequired: "FALSE",
      },
      needed: ["MetaDataPrompt", "MetaDataFieldName"],
      View: MetadataRow,
    });
    this.preview = document.getElementById("preview");
  }

  changed() {
    super.changed();
    if (!this.isShown) return;
    const rows = this.shownViews;
    this.list.closest("table").hidden = this.views.length === 0;
    this.preview.closest("section").hidden = rows.length === 0;
    this.preview.replaceChildren(...rows.map(previewItem));
    const others = new Set(rows.flatMap((row) => row.others));
    document.getElementById("others").replaceChildren(...this.othersText([...others]));
  }
}

openDraftPage((template, mayChange) => {
  const page = new MetadataPage(template);
  page.start();
  page.area.disabled = !mayChange;
});
