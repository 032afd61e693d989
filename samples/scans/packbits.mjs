// The run-length compression of bytes that TIFF calls PackBits and PDF RunLengthDecode.
// SPDX-License-Identifier: MIT

const longest = 128;

function runLength(bytes, start) {
  let end = start + 1;
  while (end < bytes.length && end - start < longest && bytes[end] === bytes[start]) end += 1;
  return end - start;
}

/** Compresses `bytes`: runs of three and more become two bytes, others are copied in pieces. */
export function packBits(bytes) {
  const packed = [];
  let copied = 0;
  const copy = (end) => {
    for (; copied < end; copied += longest) {
      const piece = bytes.subarray(copied, Math.min(copied + longest, end));
      packed.push(Buffer.from([piece.length - 1]), piece);
    }
    copied = end;
  };
  for (let at = 0; at < bytes.length; ) {
    const length = runLength(bytes, at);
    if (length > 2) {
      copy(at);
      packed.push(Buffer.from([257 - length, bytes[at]]));
      copied = at + length;
    }
    at += length;
  }
  copy(bytes.length);
  return Buffer.concat(packed);
}
