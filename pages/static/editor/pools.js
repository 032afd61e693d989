// The template pools, what may be done with a template in each, and the addresses of its pages.
// SPDX-License-Identifier: MIT

const ROOT = "/tmp/template/pool";

const ANYBODY = ["user", "administrator"];

// `writers` are the roles that may change a pool's templates; `keepsNames` forbids renaming, and
// `keepsFiles` deleting: a mailbox template goes with its folder, on the mailbox's own page. From one
// that `restores`, templates of the other pools are restored.
const POOLS = [
  { directory: `${ROOT}/web`, writers: ANYBODY, keepsNames: false },
  { directory: `${ROOT}/mailbox`, writers: ["administrator"], keepsNames: true, keepsFiles: true },
  { directory: `${ROOT}/system`, writers: ["administrator"], keepsNames: true },
  { directory: `${ROOT}/factory`, writers: [], keepsNames: true, restores: true },
  { directory: ROOT, writers: ANYBODY, keepsNames: true },
];

const OTHER = { writers: ANYBODY, keepsNames: true };

/** The template that all new jobs start from. */
export const PROTECTED = `${ROOT}/system/default.ktp`;

/** The pool of the templates as shipped. */
export const FACTORY = `${ROOT}/factory`;

const poolOf = (directory) => POOLS.find((pool) => pool.directory === directory) ?? OTHER;

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

/** The address of a template's page of that name, or of its file for "download". */
export function addressFor(page, path) {
  if (page !== "download") return pageAddress(page, path);
  return `/download/template?ParserFilename=${encodePath(path)}`;
}

/** True when `login` may change the template. */
export function mayChange(path, login) {
  return login !== null && poolOf(directoryOf(path)).writers.includes(login.role);
}

/**
 * The pages that `login` may open for the template, "template" first. Nobody logged in gets them
 * all: they ask for a login.
 */
export function pagesFor(path, login) {
  const { writers, keepsNames, keepsFiles, restores } = poolOf(directoryOf(path));
  if (path.includes("\uFFFD")) return [];
  const mayBe = (roles) => (login === null ? roles.length > 0 : roles.includes(login.role));
  const isFixed = keepsFiles || path === PROTECTED;
  return [
    "template",
    ...(mayBe(writers) ? ["edit"] : []),
    "metadata",
    "destinations",
    ...(writers.length > 0 ? ["history"] : []),
    "copy",
    ...(mayBe(writers) && !keepsNames ? ["rename"] : []),
    ...(restores && mayBe(["administrator"]) ? ["restore"] : []),
    "download",
    ...(mayBe(writers) && !isFixed ? ["delete"] : []),
  ];
}
