// What the editor may do with an attribute, by its names, its type and its values.
// SPDX-License-Identifier: MIT

/** The service whose new invocations take all their fields in one post. */
export const METADATA = 'qvn_dscrpt_metadata';

/** Stands where a page shows bytes that are not UTF-8. */
export const REPLACEMENT = '\uFFFD';

const PHONE_NUMBERS = 'PhoneNumber';
const ENUMERATION = 'enum_';

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
  text: 'text',
  toggle: 'toggle',
  choices: 'choices',
  phones: 'phones',
  removal: 'removal',
  fixed: 'fixed',
});

/**
 * True for the name of a service, an invocation or an attribute that reaches the device as it
 * stands in the template: a post takes the empty name and the word NULL for no name, changes line
 * ends, and cannot carry bytes that are not UTF-8.
 */
export function isSendable(name) {
  return name !== '' && name !== 'NULL' && !/[\r\n\uFFFD]/.test(name);
}

/** True where deletes follow the rules of metadata fields, which go by the start of the name. */
export function isMetadata(service) {
  return service.startsWith(METADATA);
}

/** True for the one attribute whose values are joined with semicolons. */
export function isPhoneList(name) {
  return name === PHONE_NUMBERS;
}

/** The text between two values of a list. */
export function separatorOf(name) {
  return isPhoneList(name) ? ';' : ',';
}

/** The text with LF for every line end, as a page's controls hold it. */
export function withLineFeeds(text) {
  return text.replace(/\r\n?/g, '\n');
}

/**
 * Returns the Kind of `attribute` ({service, invocation, name, type, stored}); `stored` are its
 * values, none for a new one.
 */
export function kindOf(attribute) {
  const { name, type, stored } = attribute;
  if (fixedReason(attribute) !== '') return Kind.fixed;
  if (isPhoneList(name)) return Kind.phones;
  if (type.startsWith(ENUMERATION)) return Kind.choices;
  if (stored.length > 1) return isMetadata(attribute.service) ? Kind.fixed : Kind.removal;
  if (type === 'boolean' && (stored[0] === 'TRUE' || stored[0] === 'FALSE')) return Kind.toggle;
  return Kind.text;
}

/**
 * Returns why the attribute cannot be edited, the id of a phrase, or '':
 * - one of its names would not arrive as it is;
 * - the device sets it itself with every save;
 * - it holds several values that can neither be written nor removed singly.
 */
export function fixedReason({ service, invocation, name, type, stored, isStamped = false }) {
  const names = invocation === null ? [service, name] : [service, invocation, name];
  if (!names.every(isSendable)) return 'edit.fixed.name';
  if (isStamped) return 'edit.fixed.stamp';
  const isList = isPhoneList(name) || type.startsWith(ENUMERATION);
  if (!isList && stored.length > 1 && isMetadata(service)) return 'edit.fixed.list';
  return '';
}

/**
 * Returns why `value` cannot be taken out of a list of values, the id of a phrase, or ''. A post
 * names the values to remove in one text with commas between them.
 */
export function removalReason(value) {
  if (value === '' || value === 'NULL') return 'edit.removal.null';
  if (value.includes(',')) return 'edit.removal.comma';
  if (/[\r\n]/.test(value)) return 'edit.removal.lines';
  return value.includes(REPLACEMENT) ? 'edit.removal.bytes' : '';
}

/** True when an invocation can be removed: metadata goes by another rule than its names tell. */
export function canRemoveInvocation(service, invocation) {
  return (
    isSendable(service) && isSendable(invocation) && (!isMetadata(service) || service === METADATA)
  );
}
