// What the user had typed when a post was refused, or when the session had ended.
// SPDX-License-Identifier: MIT
//
// The host shows a page again in answer to a post, or after the login that the post lacked, and
// hands it what was posted. The address may then be the post's and not the page's.
import { readBlock } from "./dom.js";

/** What was typed on this page before, {status, fields, conflicts, field}, or null. */
export const typed = readBlock("posted");

/** The value of the field of that name as it was posted; undefined without one. */
export function postedValue(name) {
  return typed?.fields.find((field) => field.name === name)?.value;
}

/** The template that the page is about: the posted one, or the one it was asked for. */
export function templatePath() {
  const asked = new URLSearchParams(location.search).get("ParserFilename");
  const path = postedValue("ParserFilename") ?? postedValue("DefaultParserFilename") ?? asked ?? "";
  // A restore posts a template of the factory pool by its name alone.
  return path === "" || path.includes("/") ? path : `/tmp/template/pool/factory/${path}`;
}
