// Times, durations and sizes as people of the page's language write them.
// SPDX-License-Identifier: MIT
import { element } from "./dom.js";

const language = document.documentElement.lang;
const times = new Intl.DateTimeFormat(language, { dateStyle: "medium", timeStyle: "medium" });

const DURATIONS = [
  ["day", 86400],
  ["hour", 3600],
  ["minute", 60],
  ["second", 1],
];

const SIZES = [
  ["gigabyte", 1e9],
  ["megabyte", 1e6],
  ["kilobyte", 1e3],
];

function withUnit(value, unit, options) {
  return new Intl.NumberFormat(language, { style: "unit", unit, ...options }).format(value);
}

/** The <time> element of a time such as "2026-11-21T10:16:46Z", in the visitor's own time. */
export function timeElement(time) {
  return element("time", { datetime: time }, times.format(new Date(time)));
}

/** A duration in its two largest units. */
export function durationText(seconds) {
  const first = DURATIONS.findIndex(([, length]) => seconds >= length);
  if (first < 0) return withUnit(0, "second", { unitDisplay: "long" });
  const texts = [];
  let rest = seconds;
  for (const [unit, length] of DURATIONS.slice(first, first + 2)) {
    const count = Math.floor(rest / length);
    if (count > 0) texts.push(withUnit(count, unit, { unitDisplay: "long" }));
    rest -= count * length;
  }
  return texts.join(", ");
}

/** A number of bytes in the unit that people read easily. */
export function sizeText(bytes) {
  const [unit, size] = SIZES.find(([, least]) => bytes >= least) ?? SIZES.at(-1);
  return withUnit(bytes / size, unit, { maximumFractionDigits: 1 });
}

/** A whole number. */
export function numberText(number) {
  return new Intl.NumberFormat(language).format(number);
}
