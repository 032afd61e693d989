// What the editor may do with an attribute, by its names, its type and its values.
// SPDX-License-Identifier: MIT

/** The service of the fields that the device asks for. */
export const METADATA = "qvn_dscrpt_metadata";

/** Stands where a page shows bytes that are not UTF-8. */
export const REPLACEMENT = "\uFFFD";

/** The one attribute whose values are joined with semicolons. */
export const PHONES = "PhoneNumber";

/**
 * How an attribute is edited:
 * - text: one text;
 * - toggle: TRUE or FALSE;
 * - choices: one or more values of an enumeration;
 * - phones: a list of phone numbers;
 * - removal: several values, which cannot be written as a list but removed one by one;
 * - fixed: not at all, see fixedReason().
 */
export const Kind = Object.freeze({
  text: "text",
  toggle: "toggle",
  choices: "choices",
  phones: "phones",
  removal: "removal",
  fixed: "fixed",
});

const LIST_REASON = "edit.fixed.list";

/** A form's names have at most this many bytes. */
const LONGEST_NAME = 255;

/**
 * True for the name of a service, an invocation or an attribute that reaches the device as it
 * stands in the template: a post takes the empty name and the word NULL for no name, changes line
 * ends, and cannot carry bytes that are not UTF-8 or names that are very long.
 */
export function isSendable(name) {
  if (name === "" || name === "NULL" || /[\r\n\uFFFD]/.test(name)) return false;
  return new TextEncoder().encode(name).length <= LONGEST_NAME;
}

/** True where deletes follow the rules of metadata fields, which go by the start of the name. */
export function isMetadata(service) {
  return service.startsWith(METADATA);
}

/** True for a type whose values may be written as a list. */
export function isEnumeration(type) {
  return type.startsWith("enum_");
}

/** The text between two values of a list. */
export function separatorOf(name) {
  return name === PHONES ? ";" : ",";
}

/** The text with LF for every line end, as a page's controls hold it. */
export function withLineFeeds(text) {
  return text.replace(/\r\n?/g, "\n");
}

/**
 * Returns the Kind of `attribute`, {service, invocation, name, type, values, isStamped}: its values
 * as they were when the page was shown, and whether the device sets it itself.
 */
export function kindOf(attribute) {
  const { name, type, values } = attribute;
  if (fixedReason(attribute) !== "") return Kind.fixed;
  if (name === PHONES) return Kind.phones;
  if (isEnumeration(type)) return Kind.choices;
  if (values.length > 1) return Kind.removal;
  return type === "boolean" && /^(TRUE|FALSE)$/.test(values[0]) ? Kind.toggle : Kind.text;
}

/**
 * Returns why the attribute cannot be edited, the id of a phrase, or '':
 * - one of its names would not arrive as it is;
 * - the device sets it itself with every save;
 * - it holds several values that can neither be written nor removed singly.
 */
export function fixedReason({ service, invocation, name, type, values, isStamped }) {
  const names = invocation === null ? [service, name] : [service, invocation, name];
  if (!names.every(isSendable)) return "edit.fixed.name";
  if (isStamped) return "edit.fixed.stamp";
  const isList = name === PHONES || isEnumeration(type);
  return !isList && values.length > 1 && isMetadata(service) ? LIST_REASON : "";
}

/** True for an attribute that can be removed as a whole, be it all that can be done with it. */
export function canRemove(attribute) {
  if (attribute.compulsory && !attribute.isNew) return false;
  return ["", LIST_REASON].includes(fixedReason(attribute));
}

/**
 * Returns why `value` cannot be taken out of a list of values, the id of a phrase, or ''. A post
 * names the values to remove in one text with commas between them.
 */
export function removalReason(value) {
  if (value === "" || value === "NULL") return "edit.removal.null";
  if (value.includes(",")) return "edit.removal.comma";
  if (/[\r\n]/.test(value)) return "edit.removal.lines";
  return value.includes(REPLACEMENT) ? "edit.removal.bytes" : "";
}

/** True when an invocation can be removed: metadata goes by another rule than its names tell. */
export function canRemoveInvocation(service, invocation) {
  return (
    isSendable(service) && isSendable(invocation) && (!isMetadata(service) || service === METADATA)
  );
}
