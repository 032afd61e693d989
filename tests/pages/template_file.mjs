// Writes template files for tests, without the store's own writer.
// SPDX-License-Identifier: MIT

/** A text or bytes as a template file holds it: every byte escaped. */
export function escaped(value) {
  return [...Buffer.from(value)]
    .map((byte) => `\\x${byte.toString(16).padStart(2, '0')}`)
    .join('');
}

/** The file of a template; `services` is {service: {invocation: {attribute: [value, ...]}}}. */
export function templateFile(services) {
  const lines = [];
  for (const [service, invocations] of Object.entries(services)) {
    lines.push(`[service ${escaped(service)}]`);
    for (const [invocation, attributes] of Object.entries(invocations)) {
      lines.push(`[invocation ${escaped(invocation)}]`);
      for (const [attribute, values] of Object.entries(attributes)) {
        lines.push(`${escaped(attribute)} (string)`, ...values.map((value) => `= ${escaped(value)}`));
      }
    }
  }
  return lines.map((line) => `${line}\n`).join('');
}
