// The fields that say where a copy goes: a file name, a pool, and whether it may replace a file.
// SPDX-License-Identifier: MIT
import { hiddenField, words } from "./dom.js";
import { fileNameFor, fileNameProblem } from "./file_names.js";
import { directoryOf, withoutSuffix } from "./pools.js";
import { postedValue, typed } from "./typed.js";

// The form field that carries the name, per pool.
const FIELDS = {
  "/tmp/template/pool/web": "CopyParserFilename",
  "/tmp/template/pool/system": "CopyParserFilename",
  "/tmp/template/pool/mailbox": "CopyParserFilenameMailbox",
};

/** The destination fields of the page, as parts/destination.inc has them. */
export class Destination {
  constructor() {
    this.name = document.getElementById("destination-name");
    this.replaceBox = document.getElementById("destination-replace");
    this.pool = document.getElementById("destination-pool");
  }

  get directory() {
    return this.pool.value;
  }

  /** The path of the copy. */
  get path() {
    return `${this.directory}/${fileNameFor(this.name.value)}`;
  }

  /** The control of a posted field; null when it is none of these. */
  controlOf(field) {
    if (field === this.replaceBox.name) return this.replaceBox;
    return Object.values(FIELDS).includes(field) ? this.name : null;
  }

  /** Suggests a copy of the template `path` of that name, beside it where that is possible. */
  suggest(path, name) {
    this.name.value = name;
    this.choose(directoryOf(path));
  }

  /** Chooses the pool of that directory where copies may go there, else the first. */
  choose(directory) {
    const offered = [...this.pool.options].map(({ value }) => value);
    this.pool.value = offered.includes(directory) ? directory : offered[0];
  }

  /** Takes what was posted before, and offers to replace a file that is there already. */
  refill() {
    for (const [directory, field] of Object.entries(FIELDS)) {
      const name = postedValue(field);
      if (name === undefined) continue;
      this.name.value = withoutSuffix(name);
      this.choose(directory);
      this.replaceBox.closest("label").hidden = typed.field !== this.replaceBox.name;
    }
  }

  /** Returns what is wrong, {control, text}, or null. */
  problem() {
    const phrase = fileNameProblem(this.name.value, FIELDS[this.directory]);
    return phrase === "" ? null : { control: this.name, text: words(phrase) };
  }

  /** The hidden form fields to post. */
  fields() {
    return [hiddenField(FIELDS[this.directory], fileNameFor(this.name.value))];
  }
}
