// Makes the scan files of the sample jobs: node samples/scans/make.mjs [DIRECTORY]
// SPDX-License-Identifier: MIT
//
// DIRECTORY is where the folders of the mailbox are, the sample device's own if missing. The files are
// the same on every machine.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { jpeg } from './jpeg.mjs';
import { pdf } from './pdf.mjs';
import { Raster, white } from './raster.mjs';
import { tiff } from './tiff.mjs';

const resolution = 100;
const a4 = [827, 1169];
const card = [584, 413];

// A typed letter: the title over a rule, lines of text, and the number of the page.
function letter(title, lines, number) {
  const page = new Raster(...a4);
  page.text(80, 90, 5, title);
  page.box(80, 140, 667, 4);
  lines.forEach((line, index) => page.text(80, 190 + index * 36, 3, line));
  page.text(80, 1090, 2, `Page ${number}`);
  return page;
}

const letters = (title, ...pages) => pages.map((lines, index) => letter(title, lines, index + 1));

// A printed card in colour: a sun over the sea.
function flyer(title, line) {
  const page = new Raster(...card, [228, 240, 246]);
  for (let y = 0; y < 170; y += 1) {
    const half = Math.floor(Math.sqrt(90 ** 2 - (y - 90) ** 2));
    if (half > 0) page.box(420 - half, 60 + y, half * 2, 1, [244, 170, 60]);
  }
  for (let wave = 0; wave < 10; wave += 1) {
    page.box(0, 213 + wave * 20, card[0], 20, [10 + wave * 6, 90 + wave * 8, 120 + wave * 9]);
  }
  page.text(40, 60, 6, title, [11, 80, 90]);
  page.text(40, 350, 3, line, white);
  return page;
}

const files = {
  '_PUBLIC/job7.d/job7.pdf': pdf(
    letters(
      'Offer 2026-07',
      ['Two hundred copies, both sides,', 'folded once.', '', '84.50 plus postage'],
      ['This offer holds for thirty days.'],
    ),
    resolution,
  ),
  '_PUBLIC/Delivery note/Delivery note.tif': tiff(
    letters('Delivery note', ['12 boxes of paper A4', '3 toner cartridges, black']),
    resolution,
  ),
  '_PUBLIC/Flyer.jpg': jpeg(flyer('Open day', 'Saturday from 10 to 16'), resolution),
  '_PUBLIC/Contract.pdf': pdf(
    letters('Contract', ['Between the parties below', 'it is agreed as follows.']),
    resolution,
  ),
  'anna/job1.d/job1.pdf': pdf(letters('Travel costs', ['Train 61.40', 'Hotel 118.00']), resolution),
  'anna/job1.d/job1.jpg': jpeg(flyer('Receipt', 'Harbour ferry'), resolution),
  'anna/Application.d/Application.tif': tiff(
    letters('Application', ['Dear all,', 'please find my papers here.'], ['Certificates']),
    resolution,
  ),
  'anna/job3.d/job3.tif': tiff(letters('Untitled', ['No log came with this scan.']), resolution),
  'accounts team/job1.d/job1.tif': tiff(
    letters('Invoice 4711', ['Repairs, two hours', '120.00']),
    resolution,
  ),
};

const samples = fileURLToPath(new URL('..', import.meta.url));
const target = process.argv[2] ?? path.join(samples, 'spool/image_store/s2mailbox');
for (const [name, bytes] of Object.entries(files)) {
  const file = path.join(target, name);
  fs.mkdirSync(path.dirname(file), { recursive: true });
  fs.writeFileSync(file, bytes);
}
