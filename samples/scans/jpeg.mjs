// Writes a page in colour as a JPEG file: baseline, one table of each kind for all three components.
// SPDX-License-Identifier: MIT

// The zigzag order of a block's coefficients, and how coarsely each is kept.
const zigzag = [
  0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5, 12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13,
  6, 7, 14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51, 58, 59, 52, 45,
  38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
];
const steps = zigzag.map((_, index) => 8 + 2 * index);

// A Huffman table as a file holds it: how many codes have 1, 2, ... 16 bits, and their symbols. All
// codes of a table here have the same length, with some to spare: no code may be all ones.
function evenTable(symbols, bits) {
  const counts = Array(16).fill(0);
  counts[bits - 1] = symbols.length;
  return { counts, symbols, bits, codeOf: new Map(symbols.map((symbol, code) => [symbol, code])) };
}
const range = (length) => Array.from({ length }, (_, index) => index);
const dcTable = evenTable(range(12), 4);
const acTable = evenTable(
  [0x00, 0xf0, ...range(16).flatMap((zeros) => range(10).map((size) => (zeros << 4) | (size + 1)))],
  8,
);

// The cosines of the transform in 4096ths: whole numbers give the same file on every machine.
const cosines = range(8).map((u) =>
  range(8).map((x) => Math.round(Math.cos(((2 * x + 1) * u * Math.PI) / 16) * 4096)),
);

function transformRow(row) {
  return cosines.map((cosine, u) => {
    const sum = cosine.reduce((total, factor, x) => total + factor * row[x], 0);
    return Math.round((sum * (u === 0 ? 2896 : 4096)) / (4096 * 4096 * 2));
  });
}

const turned = (block) => range(8).map((x) => block.map((row) => row[x]));

// The quantised coefficients of an 8x8 block, in zigzag order.
function coefficients(block) {
  const scaled = block.map((row) => row.map((value) => value * 16));
  const transformed = turned(turned(scaled.map(transformRow)).map(transformRow));
  const flat = transformed.flat();
  return zigzag.map((place, index) => Math.round(flat[place] / 16 / steps[index]));
}

class BitWriter {
  constructor() {
    Object.assign(this, { bytes: [], held: 0, count: 0 });
  }

  put(value, bits) {
    for (let bit = bits - 1; bit >= 0; bit -= 1) {
      this.held = (this.held << 1) | ((value >> bit) & 1);
      this.count += 1;
      if (this.count === 8) this.flush();
    }
  }

  // A byte of all ones is followed by a zero byte, so that it begins no marker.
  flush() {
    this.bytes.push(this.held, ...(this.held === 255 ? [0] : []));
    Object.assign(this, { held: 0, count: 0 });
  }

  end() {
    while (this.count !== 0) this.put(1, 1);
    return Buffer.from(this.bytes);
  }

  /** A value as its symbol, which holds its size, and its own bits. */
  putValue(table, zeros, value) {
    const size = 32 - Math.clz32(Math.abs(value));
    this.put(table.codeOf.get((zeros << 4) | size), table.bits);
    this.put(value < 0 ? value + (1 << size) - 1 : value, size);
  }
}

function putBlock(writer, values, before) {
  writer.putValue(dcTable, 0, values[0] - before);
  let zeros = 0;
  const last = values.findLastIndex((value) => value !== 0);
  for (const value of values.slice(1, Math.max(last, 0) + 1)) {
    if (value === 0) {
      zeros += 1;
      continue;
    }
    for (; zeros > 15; zeros -= 16) writer.put(acTable.codeOf.get(0xf0), acTable.bits);
    writer.putValue(acTable, zeros, value);
    zeros = 0;
  }
  if (last < 63) writer.put(acTable.codeOf.get(0x00), acTable.bits);
}

// Brightness and the two colour differences of a dot, each around zero, in whole numbers.
const components = [
  ([r, g, b]) => Math.round((299 * r + 587 * g + 114 * b) / 1000) - 128,
  ([r, g, b]) => Math.round((-169 * r - 331 * g + 500 * b) / 1000),
  ([r, g, b]) => Math.round((500 * r - 419 * g - 81 * b) / 1000),
];

function scan(page) {
  const writer = new BitWriter();
  const before = [0, 0, 0];
  for (let top = 0; top < page.height; top += 8) {
    for (let left = 0; left < page.width; left += 8) {
      components.forEach((component, index) => {
        const block = range(8).map((y) =>
          range(8).map((x) => component(page.dot(left + x, top + y))),
        );
        const values = coefficients(block);
        putBlock(writer, values, before[index]);
        before[index] = values[0];
      });
    }
  }
  return writer.end();
}

const word = (value) => [value >> 8, value & 255];

function segment(marker, bytes) {
  return Buffer.from([255, marker, ...word(bytes.length + 2), ...bytes]);
}

const huffman = (place, { counts, symbols }) => segment(0xc4, [place, ...counts, ...symbols]);

/** A JPEG file of `page`, at `resolution` dots an inch. */
export function jpeg(page, resolution) {
  const dots = [...word(resolution), ...word(resolution)];
  const frame = [8, ...word(page.height), ...word(page.width), 3];
  return Buffer.concat([
    Buffer.from([255, 0xd8]),
    segment(0xe0, [...Buffer.from('JFIF\0'), 1, 1, 1, ...dots, 0, 0]),
    segment(0xdb, [0, ...steps]),
    segment(0xc0, [...frame, ...[1, 2, 3].flatMap((id) => [id, 0x11, 0])]),
    huffman(0x00, dcTable),
    huffman(0x10, acTable),
    segment(0xda, [3, ...[1, 2, 3].flatMap((id) => [id, 0]), 0, 63, 0]),
    scan(page),
    Buffer.from([255, 0xd9]),
  ]);
}
