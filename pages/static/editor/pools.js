// The template pools, what may be done with a template in each, and the addresses of its pages.
// SPDX-License-Identifier: MIT

const ROOT = "/tmp/template/pool";

const ANYBODY = ["user", "administrator"];

// `writers` are the roles that may change a pool's templates; `keepsNames` forbids renaming.
const POOLS = [
  { directory: `${ROOT}/web`, phrase: "pool.web", writers: ANYBODY, keepsNames: false },
  { directory: `${ROOT}/mailbox`, phrase: "pool.mailbox", writers: ANYBODY, keepsNames: false },
  { directory: `${ROOT}/system`, phrase: "pool.system", writers: ["administrator"], keepsNames: true },
  { directory: `${ROOT}/factory`, phrase: "pool.factory", writers: [], keepsNames: true },
  { directory: ROOT, phrase: "pool.working", writers: ANYBODY, keepsNames: true },
];

const OTHER = { phrase: "pool.other", writers: ANYBODY, keepsNames: true };

const PROTECTED = `${ROOT}/system/default.ktp`;

/** The pool of that directory. */
export function poolOf(directory) {
  return POOLS.find((pool) => pool.directory === directory) ?? { directory, ...OTHER };
}

export function directoryOf(path) {
  return path.slice(0, path.lastIndexOf("/"));
}

export function fileNameOf(path) {
  return path.slice(path.lastIndexOf("/") + 1);
}

/** The name of a template's file as people read it. */
export function withoutSuffix(fileName) {
  return fileName.replace(/\.ktp$/i, "");
}

const encodePath = (path) => path.split("/").map(encodeURIComponent).join("/");

/** The address of the list of a pool. */
export function poolAddress(directory) {
  return `/pool.html?TemplateDir=${encodePath(directory)}`;
}

/** The address of the page of that name ("edit", say) for a template. */
export function pageAddress(page, path) {
  return `/${page}.html?ParserFilename=${encodePath(path)}`;
}

/**
 * The pages that `login` may open for the template, in the order in which they are offered. Nobody
 * logged in gets them all: they ask for a login.
 */
export function pagesFor(path, login) {
  const { writers, keepsNames } = poolOf(directoryOf(path));
  if (path.includes("\uFFFD")) return [];
  const writes = login === null ? writers.length > 0 : writers.includes(login.role);
  if (!writes) return ["template", "copy"];
  if (path === PROTECTED) return ["template", "edit", "copy"];
  return ["template", "edit", "copy", ...(keepsNames ? [] : ["rename"]), "delete"];
}

const LONGEST = { CopyParserFilename: 226, CopyParserFilenameMailbox: 221, NewName: 221 };

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
