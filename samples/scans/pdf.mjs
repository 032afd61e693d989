// Writes bilevel pages as a PDF file.
// SPDX-License-Identifier: MIT
import { packBits } from './packbits.mjs';

const endOfData = Buffer.from([128]);

const stream = (dictionary, bytes) =>
  Buffer.concat([
    Buffer.from(`<< ${dictionary} /Length ${bytes.length} >>\nstream\n`),
    bytes,
    Buffer.from('\nendstream'),
  ]);

// The three objects of a page: the page, what it draws, and its image. `first` is its number.
function pageObjects(page, first, points) {
  const [width, height] = [page.width * points, page.height * points];
  const image = Buffer.concat([packBits(Buffer.concat(page.bilevelRows())), endOfData]);
  return [
    Buffer.from(
      `<< /Type /Page /Parent 2 0 R /MediaBox [0 0 ${width} ${height}] ` +
        `/Resources << /XObject << /Scan ${first + 2} 0 R >> >> /Contents ${first + 1} 0 R >>`,
    ),
    stream('', Buffer.from(`${width} 0 0 ${height} 0 0 cm /Scan Do`)),
    stream(
      `/Type /XObject /Subtype /Image /Width ${page.width} /Height ${page.height} ` +
        '/ColorSpace /DeviceGray /BitsPerComponent 1 /Decode [1 0] /Filter /RunLengthDecode',
      image,
    ),
  ];
}

// The objects in one file, with the table of where each begins.
function file(objects) {
  const pieces = [Buffer.from('%PDF-1.4\n%\xe2\xe3\xcf\xd3\n', 'latin1')];
  let at = pieces[0].length;
  const rows = objects.map((object, index) => {
    const piece = Buffer.concat([
      Buffer.from(`${index + 1} 0 obj\n`),
      object,
      Buffer.from('\nendobj\n'),
    ]);
    const row = `${String(at).padStart(10, '0')} 00000 n \n`;
    pieces.push(piece);
    at += piece.length;
    return row;
  });
  const size = objects.length + 1;
  const table = `xref\n0 ${size}\n0000000000 65535 f \n${rows.join('')}`;
  const trailer = `trailer\n<< /Size ${size} /Root 1 0 R >>\nstartxref\n${at}\n%%EOF\n`;
  return Buffer.concat([...pieces, Buffer.from(table + trailer)]);
}

/** A PDF file of `pages`, at `resolution` dots an inch. */
export function pdf(pages, resolution) {
  const firstOf = (index) => 3 + index * 3;
  const kids = pages.map((_, index) => `${firstOf(index)} 0 R`).join(' ');
  return file([
    Buffer.from('<< /Type /Catalog /Pages 2 0 R >>'),
    Buffer.from(`<< /Type /Pages /Kids [${kids}] /Count ${pages.length} >>`),
    ...pages.flatMap((page, index) => pageObjects(page, firstOf(index), 72 / resolution)),
  ]);
}
