// Writes bilevel pages as a TIFF file.
// SPDX-License-Identifier: MIT
import { packBits } from './packbits.mjs';

const short = 3;
const long = 4;
const rational = 5;

// A directory: its number of entries, twelve bytes each, and where the next one begins.
function directory(entries, next) {
  const bytes = Buffer.alloc(2 + entries.length * 12 + 4);
  bytes.writeUInt16LE(entries.length, 0);
  entries.forEach(([tag, type, value], index) => {
    const at = 2 + index * 12;
    bytes.writeUInt16LE(tag, at);
    bytes.writeUInt16LE(type, at + 2);
    bytes.writeUInt32LE(1, at + 4);
    if (type === short) bytes.writeUInt16LE(value, at + 8);
    else bytes.writeUInt32LE(value, at + 8);
  });
  bytes.writeUInt32LE(next, bytes.length - 4);
  return bytes;
}

function entriesOf(page, resolutionAt, stripAt, strip) {
  return [
    [256, long, page.width],
    [257, long, page.height],
    [258, short, 1], // bits a sample
    [259, short, 32773], // compressed by PackBits
    [262, short, 0], // 0 is white
    [273, long, stripAt],
    [277, short, 1], // samples a pixel
    [278, long, page.height], // rows a strip
    [279, long, strip.length],
    [282, rational, resolutionAt],
    [283, rational, resolutionAt],
    [296, short, 2], // the resolution is in dots an inch
  ];
}

/** A TIFF file of `pages`, at `resolution` dots an inch. */
export function tiff(pages, resolution) {
  const header = Buffer.from([0x49, 0x49, 42, 0, 8, 0, 0, 0]);
  const pieces = [header];
  let at = header.length;
  pages.forEach((page, index) => {
    const strip = Buffer.concat(page.bilevelRows().map(packBits));
    const padding = Buffer.alloc(strip.length % 2); // a directory begins at an even byte
    const resolutionAt = at + directory(entriesOf(page, 0, 0, strip), 0).length;
    const stripAt = resolutionAt + 8;
    const end = stripAt + strip.length + padding.length;
    const fraction = Buffer.alloc(8);
    fraction.writeUInt32LE(resolution, 0);
    fraction.writeUInt32LE(1, 4);
    const next = index + 1 < pages.length ? end : 0;
    const entries = entriesOf(page, resolutionAt, stripAt, strip);
    pieces.push(directory(entries, next), fraction, strip, padding);
    at = end;
  });
  return Buffer.concat(pieces);
}
