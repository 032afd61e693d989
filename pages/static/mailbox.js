// Shows the times of scans in the visitor's own time and language.
// SPDX-License-Identifier: MIT
const format = new Intl.DateTimeFormat(document.documentElement.lang, {
  dateStyle: "medium",
  timeStyle: "short",
});

for (const time of document.querySelectorAll("time")) {
  time.textContent = format.format(new Date(time.dateTime));
}
