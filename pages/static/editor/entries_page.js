// What the pages have in common that show one service of the template, entry by entry.
// SPDX-License-Identifier: MIT
import { canRemoveInvocation } from "./attributes.js";
import { button, element, words } from "./dom.js";
import { DraftPage } from "./draft_page.js";
import { pageAddress } from "./pools.js";
import { SlotView } from "./slot_view.js";
import { Slot, addEntry, otherNames } from "./slots.js";

/**
 * Shows one entry. A subclass makes `node`, and the `title` that the entry has in words of its own;
 * its update(), if it has one, shows what typing changes.
 */
export class EntryView {
  constructor(invocation, page, number) {
    Object.assign(this, { invocation, page, number });
    this.slots = page.names.map((name) => new Slot(invocation, name));
  }

  /** The view of each slot; `number` tells them from those of other entries. */
  slotViews(number) {
    this.views = this.slots.map((slot) => new SlotView(slot, this.page, number));
    return this.views;
  }

  text(name) {
    return this.slots[this.page.names.indexOf(name)].text;
  }

  /** The button that removes the entry; nothing where that is not possible. */
  removeButton() {
    const { service, name, isNew } = this.invocation;
    if (!isNew && !canRemoveInvocation(service, name)) return "";
    const text = words(isNew ? "entries.discard" : "entries.remove");
    return button(text, () => this.page.remove(this), {
      class: "quiet entry-remove",
      "aria-label": `${text}: ${this.title}`,
    });
  }

  /** What stands in place of an entry that will be removed. */
  removedText() {
    const undo = button(words("edit.undo"), () => this.page.bringBack(this), {
      "aria-label": `${words("edit.undo")}: ${this.title}`,
    });
    const text = element("span", {}, `${this.title}: ${words("edit.invocation.removed")}`);
    return element("p", { class: "tools" }, text, undo);
  }

  /** What the entry holds beside its slots. */
  get others() {
    return otherNames(this.invocation, this.slots);
  }
}

/** A page with the entries of one service; the element "entries" is a fieldset. */
export class EntriesPage extends DraftPage {
  /**
   * `service` is the service, `names` the attributes that an entry has a place for, `start` what a
   * new entry begins with, `needed` the attributes that an entry must have, `View` shows an entry.
   */
  constructor(template, { service, names, start, needed, View }) {
    super(template, document.getElementById("entries"));
    Object.assign(this, { names, needed, View, serviceName: service, beginning: start });
    this.list = document.getElementById("list");
    this.none = document.getElementById("none");
    this.addButton = document.getElementById("add");
    this.addButton.addEventListener("click", () => this.add());
    this.views = [];
  }

  get service() {
    return this.draft.service(this.serviceName);
  }

  show() {
    const { View } = this;
    this.views = [];
    this.isShown = false;
    this.views = this.service.invocations.map(
      (invocation, i) => new View(invocation, this, i + 1),
    );
    this.list.replaceChildren(...this.views.map(({ node }) => node));
    this.none.hidden = this.views.length > 0;
    this.isShown = true;
    this.changed();
  }

  add() {
    const invocation = addEntry(this.service, this.beginning);
    this.show();
    this.viewOf(invocation).node.querySelector("input, select, textarea").focus();
  }

  remove({ invocation }) {
    if (invocation.isNew) {
      this.service.discard(invocation);
      this.show();
      this.addButton.focus();
      return;
    }
    invocation.isRemoved = true;
    this.show();
    this.viewOf(invocation).node.querySelector("button").focus();
  }

  bringBack({ invocation }) {
    invocation.isRemoved = false;
    this.show();
    this.viewOf(invocation).node.querySelector(".quiet").focus();
  }

  /** Names what entries hold beside their slots, with the way to where it can be changed. */
  othersText(names) {
    if (names.length === 0) return [];
    const link = element("a", { href: pageAddress("edit", this.path) }, words("action.edit"));
    return [words("entries.others", names.join(", ")), " ", link];
  }

  viewOf(invocation) {
    return this.views.find((view) => view.invocation === invocation);
  }

  get shownViews() {
    return this.views.filter(({ invocation }) => !invocation.isRemoved);
  }

  get fieldViews() {
    return this.shownViews.flatMap(({ views }) => views);
  }

  headOf(invocation) {
    return this.viewOf(invocation).views[0].controls[0];
  }

  /** Is of no use while the views are being made, each of which tells of itself. */
  changed() {
    if (!this.isShown) return;
    super.changed();
    for (const view of this.views) view.update?.();
  }

  problems(event) {
    return [...super.problems(event), ...this.missing()];
  }

  /** What an entry that is new, or that was changed so, must have and has not. */
  missing() {
    return this.fieldViews
      .filter(({ field, slot }) => this.needed.includes(field.name) && slot.text === "")
      .filter(({ slot }) => slot.invocation.isNew || slot.isChanged)
      .map(({ controls: [control], label }) => ({ text: words("entries.needed"), control, label }));
  }
}
