// What is wrong with a draft, found before it is posted.
// SPDX-License-Identifier: MIT
import { Kind, isSendable, removalReason } from "./attributes.js";

/** A form has at most this many fields; the rest is left to what else the page sends. */
const MOST_FORM_FIELDS = 3900;

const emptyValue = (values) => values.length > 1 && values.includes("");

// Per kind of field, what its values must not be: [is the value wrong?, phrase].
const RULES = {
  [Kind.phones]: [[(value) => value.includes(";"), "edit.error.semicolon"]],
  [Kind.choices]: [
    [(value) => value.includes(","), "edit.error.comma"],
    [(value, values) => value === "" && emptyValue(values), "edit.error.empty"],
  ],
};

const isNullWord = (values) => values.length === 1 && values[0] === "NULL";

/**
 * Returns what keeps `field` from being saved: [{field, row, phrase}], `row` an index into its
 * values, `phrase` the id of the words.
 */
export function fieldProblems(field) {
  if (!field.isChanged || field.isRemoved) return [];
  if (field.kind === Kind.removal) {
    const value = field.takenOut.find((text) => removalReason(text) !== "");
    return value === undefined ? [] : [{ field, row: 0, phrase: removalReason(value) }];
  }
  const problems = [];
  if (isNullWord(field.written)) {
    problems.push({ field, row: field.values.indexOf("NULL"), phrase: "edit.error.null" });
  }
  for (const [isWrong, phrase] of RULES[field.kind] ?? []) {
    field.values.forEach((value, row) => {
      if (isWrong(value, field.values)) problems.push({ field, row, phrase });
    });
  }
  return problems;
}

/** True when a field that the template calls required would be saved without a value. */
export function lacksValue(field) {
  return field.compulsory && !field.isRemoved && field.written.every((value) => value === "");
}

/** True when editing the field would put the replacement character where other bytes are stored. */
export function holdsForeignBytes(field) {
  return field.stored.some((value) => value.includes("\uFFFD"));
}

/**
 * Returns all that keeps `draft` from being saved: problems of fields as above, and
 * {invocation, phrase} for new invocations that nothing would be written into.
 */
export function draftProblems(draft) {
  const bare = draft.invocations
    .filter(({ isNew, fields }) => isNew && !fields.some((field) => field.isChanged))
    .map((invocation) => ({ invocation, phrase: "edit.error.first" }));
  const tooMany =
    draft.runs.flat().length > MOST_FORM_FIELDS ? [{ phrase: "edit.error.many" }] : [];
  return [...draft.fields.flatMap(fieldProblems), ...bare, ...tooMany];
}

/** Returns why `invocation` cannot get a field {name, type}, the id of a phrase, or ''. */
export function newFieldProblem(invocation, { name, type }) {
  if (!isSendable(name)) return "edit.error.name";
  if (!isSendable(type)) return "edit.error.type";
  return invocation.field(name) ? "edit.error.twice" : "";
}

/** Returns why no service of that name can be added, the id of a phrase, or ''. */
export function newServiceProblem(name) {
  return isSendable(name) ? "" : "edit.error.name";
}
