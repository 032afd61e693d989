// The filing destinations of a template, each as a card.
// SPDX-License-Identifier: MIT
import { element, hasWords, uniqueId, words } from "./dom.js";
import { openDraftPage } from "./draft_page.js";
import { EntriesPage, EntryView } from "./entries_page.js";
import { filingAddress } from "./filing.js";

const NAMES = [
  "FilingProtocol",
  "RepositoryName",
  "RepositoryVolume",
  "DocumentPath",
  "RepositoryAlias",
  "LoginName",
  "DocumentFilingPolicy",
];

/** A card. */
class DestinationCard extends EntryView {
  constructor(invocation, page, number) {
    super(invocation, page, number);
    this.title = this.name;
    const id = uniqueId();
    this.heading = element("h2", { id }, this.title);
    this.address = element("p", { class: "address" });
    this.node = element("section", { class: "card entry", "aria-labelledby": id });
    if (invocation.isRemoved) {
      this.node.append(this.heading, this.removedText());
      return;
    }
    const views = this.slotViews();
    const slots = element("div", { class: "slots" }, ...views.map(({ node }) => node));
    const others = element("p", { class: "hint" }, ...page.othersText(this.others));
    const foot = element("div", { class: "entry-foot" }, this.removeButton(), others);
    this.node.append(this.heading, this.address, slots, foot);
  }

  get name() {
    return this.text("RepositoryAlias") || words("destinations.one", this.number);
  }

  /** Shows what typing changes: where the scans go, and what the protocol needs. */
  update() {
    if (this.invocation.isRemoved) return;
    this.heading.textContent = this.name;
    const address = filingAddress({
      protocol: this.text("FilingProtocol"),
      server: this.text("RepositoryName"),
      volume: this.text("RepositoryVolume"),
      path: this.text("DocumentPath"),
    });
    this.address.replaceChildren(
      ...(address === ""
        ? [words("destinations.nowhere")]
        : [`${words("destinations.to")} `, element("code", {}, address)]),
    );
    for (const { field, hint } of this.views) hint.textContent = this.hintFor(field.name);
  }

  /** What the protocol means for a setting; "" where that needs no words. */
  hintFor(name) {
    const id = `destinations.hint.${this.text("FilingProtocol")}.${name}`;
    return hasWords(id) ? words(id) : "";
  }
}

/** The filing destinations of one template. */
class DestinationsPage extends EntriesPage {
  constructor(template) {
    super(template, {
      service: "qvn_svc_file",
      names: NAMES,
      start: { FilingProtocol: "FTP", DocumentFilingPolicy: "NEW_AUTO_GENERATE" },
      needed: ["RepositoryName"],
      View: DestinationCard,
    });
  }
}

openDraftPage((template, mayChange) => {
  const page = new DestinationsPage(template);
  page.start();
  page.area.disabled = !mayChange;
});
