// The scan files of the sample jobs: made by the samples' script, and readable as what they claim to be.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { run, source, temporaryDirectory } from '../host/platend.mjs';
import { openBrowser, openPage } from './browser.mjs';

const scripts = path.join(source, 'samples/scans');
const spool = path.join(source, 'samples/spool/image_store/s2mailbox');
const scan = (name) => fs.readFileSync(path.join(spool, name));

// Undoes the run-length compression until `size` bytes are there; resolves to them and what was read.
function unpack(bytes, size) {
  const unpacked = [];
  let at = 0;
  while (unpacked.length < size) {
    const control = bytes.readInt8(at);
    if (control >= 0) unpacked.push(...bytes.subarray(at + 1, at + 2 + control));
    else unpacked.push(...Array(1 - control).fill(bytes[at + 1]));
    at += control >= 0 ? control + 2 : 2;
  }
  assert.equal(unpacked.length, size);
  return { unpacked: Buffer.from(unpacked), read: at };
}

// The pages of a TIFF file: each its tags and its rows.
function tiffPages(bytes) {
  assert.equal(bytes.toString('latin1', 0, 4), 'II*\0');
  const pages = [];
  for (let at = bytes.readUInt32LE(4); at !== 0; ) {
    const count = bytes.readUInt16LE(at);
    const tags = {};
    for (let entry = at + 2; entry < at + 2 + count * 12; entry += 12) {
      const isShort = bytes.readUInt16LE(entry + 2) === 3;
      tags[bytes.readUInt16LE(entry)] = isShort
        ? bytes.readUInt16LE(entry + 8)
        : bytes.readUInt32LE(entry + 8);
    }
    const strip = bytes.subarray(tags[273], tags[273] + tags[279]);
    const { unpacked, read } = unpack(strip, Math.ceil(tags[256] / 8) * tags[257]);
    assert.equal(read, strip.length);
    pages.push({ tags, rows: unpacked });
    at = bytes.readUInt32LE(at + 2 + count * 12);
  }
  return pages;
}

test('the script makes the scans of the sample device, byte for byte', async (t) => {
  const made = temporaryDirectory(t);
  const { code, stderr } = await run('node', [path.join(scripts, 'make.mjs'), made]);
  assert.deepEqual({ code, stderr }, { code: 0, stderr: '' });
  const filesOf = (directory) =>
    fs
      .readdirSync(directory, { recursive: true, withFileTypes: true })
      .filter((entry) => entry.isFile() && /\.(tif|pdf|jpg)$/.test(entry.name))
      .map((entry) => path.relative(directory, path.join(entry.parentPath ?? entry.path, entry.name)))
      .sort();
  assert.deepEqual(filesOf(made), filesOf(spool));
  for (const name of filesOf(made)) {
    assert.ok(fs.readFileSync(path.join(made, name)).equals(scan(name)), name);
  }
});

test('a TIFF file holds its pages, with every dot where it was drawn', async () => {
  const pages = tiffPages(scan('anna/Application.d/Application.tif'));
  assert.equal(pages.length, 2);
  const { black, Raster } = await import(path.join(scripts, 'raster.mjs'));
  const rule = new Raster(827, 4);
  rule.box(80, 0, 667, 4, black);
  for (const { tags, rows } of pages) {
    assert.deepEqual([tags[256], tags[257], tags[258], tags[262]], [827, 1169, 1, 0]);
    assert.ok(rows.subarray(140 * 104, 144 * 104).equals(Buffer.concat(rule.bilevelRows())));
  }
  assert.ok(!pages[0].rows.equals(pages[1].rows));
});

test('a PDF file says truly where its objects are, and holds a whole image for each page', () => {
  const bytes = scan('_PUBLIC/job7.d/job7.pdf');
  const text = bytes.toString('latin1');
  const table = Number(text.match(/startxref\n(\d+)\n%%EOF\n$/)[1]);
  const places = [...text.slice(table).matchAll(/^(\d{10}) 00000 n $/gm)].map(([, at]) => Number(at));
  assert.ok(text.startsWith(`xref\n0 ${places.length + 1}\n`, table));
  places.forEach((at, index) => assert.ok(text.startsWith(`${index + 1} 0 obj\n`, at)));
  const streams = [...text.matchAll(/\/RunLengthDecode \/Length (\d+) >>\nstream\n/g)];
  assert.equal(streams.length, 2);
  for (const found of streams) {
    const start = found.index + found[0].length;
    const image = bytes.subarray(start, start + Number(found[1]));
    assert.equal(unpack(image, 104 * 1169).read, image.length - 1);
    assert.equal(image.at(-1), 128);
    assert.ok(text.startsWith('\nendstream', start + image.length));
  }
});

test('a JPEG file looks in a browser as it was drawn', async (t) => {
  const page = await openPage(await openBrowser(t));
  const dots = await page.evaluate(async (address) => {
    const image = new Image();
    image.src = address;
    await image.decode();
    const canvas = new OffscreenCanvas(image.width, image.height).getContext('2d');
    canvas.drawImage(image, 0, 0);
    const dot = (x, y) => [...canvas.getImageData(x, y, 1, 1).data.slice(0, 3)];
    return { size: [image.width, image.height], paper: dot(580, 4), sun: dot(420, 150), sea: dot(2, 223) };
  }, `data:image/jpeg;base64,${scan('_PUBLIC/Flyer.jpg').toString('base64')}`);
  assert.deepEqual(dots.size, [584, 413]);
  const drawn = { paper: [228, 240, 246], sun: [244, 170, 60], sea: [10, 90, 120] };
  for (const [name, colour] of Object.entries(drawn)) {
    colour.forEach((value, index) => assert.ok(Math.abs(dots[name][index] - value) < 12, name));
  }
});
