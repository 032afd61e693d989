// The names that a template's file may have.
// SPDX-License-Identifier: MIT
import { withoutSuffix } from "./pools.js";

const LONGEST = { CopyParserFilename: 226, CopyParserFilenameMailbox: 221, NewName: 221, name: 221 };

/** The file name that a user's text stands for: the suffix may be left out. */
export function fileNameFor(text) {
  return /\.ktp$/i.test(text) ? text : `${text}.KTP`;
}

/**
 * Returns why the user's text is no file name for the form field `field`, the id of a phrase, or
 * "".
 */
export function fileNameProblem(text, field) {
  if (withoutSuffix(text) === "") return "file.error.missing";
  if (text.startsWith(".")) return "file.error.dot";
  if (/[/|\u0000-\u001F\u007F]/.test(text) || text.includes("..")) return "file.error.characters";
  const bytes = new TextEncoder().encode(fileNameFor(text)).length;
  return bytes > LONGEST[field] ? "file.error.long" : "";
}
