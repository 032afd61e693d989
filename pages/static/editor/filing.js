// Where a filing destination leads, as one line.
// SPDX-License-Identifier: MIT

const join = (...parts) => parts.filter((part) => part !== "").join("/");

const withoutEnds = (path) => path.replace(/^[/\\]+/, "");

/**
 * Returns the address of a destination, such as "ftp://server/path"; "" while it has neither server
 * nor path. The volume is the share of an SMB server.
 */
export function filingAddress({ protocol, server, volume, path }) {
  if (server === "" && volume === "" && path === "") return "";
  const scheme = protocol === "" ? "" : `${protocol.toLowerCase()}://`;
  return scheme + join(server || "?", withoutEnds(volume), withoutEnds(path));
}
