// Points in time as people read them.
// SPDX-License-Identifier: MIT
import { element } from "./dom.js";

/** Shows a time in UTC ("2026-11-21T13:03:22Z") as the reader's own clock and language do. */
export function timeElement(time) {
  const { lang } = document.documentElement;
  const style = { dateStyle: "medium", timeStyle: "medium" };
  const text = new Intl.DateTimeFormat(lang, style).format(new Date(time));
  return element("time", { datetime: time }, text);
}
