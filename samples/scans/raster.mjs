// A page as a scanner sees it: a grid of dots on white paper, with text, rules and boxes drawn on it.
// SPDX-License-Identifier: MIT

// Each character is five columns of seven dots, the lowest bit on top.
const glyphs = {
  ' ': '0000000000', '-': '0808080808', '.': '0060600000', ',': '0050300000', ':': '0036360000',
  '/': '2010080402', '+': '08083e0808', '&': '3649552250',
  0: '3e5149453e', 1: '00427f4000', 2: '4261514946', 3: '2141454b31', 4: '1814127f10',
  5: '2745454539', 6: '3c4a494930', 7: '0171090503', 8: '3649494936', 9: '064949291e',
  A: '7e1111117e', B: '7f49494936', C: '3e41414122', D: '7f4141221c', E: '7f49494941',
  F: '7f09090901', G: '3e4149497a', H: '7f0808087f', I: '00417f4100', J: '2040413f01',
  K: '7f08142241', L: '7f40404040', M: '7f020c027f', N: '7f0408107f', O: '3e4141413e',
  P: '7f09090906', Q: '3e4151215e', R: '7f09192946', S: '4649494931', T: '01017f0101',
  U: '3f4040403f', V: '1f2040201f', W: '3f4038403f', X: '6314081463', Y: '0708700807',
  Z: '6151494543',
};

/** Black on white, or any colour on any other; a colour is [red, green, blue]. */
export const black = [0, 0, 0];
export const white = [255, 255, 255];

export class Raster {
  constructor(width, height, paper = white) {
    Object.assign(this, { width, height });
    this.dots = new Uint8Array(width * height * 3);
    this.box(0, 0, width, height, paper);
  }

  /** The colour of a dot; beyond the edge that of the nearest dot. */
  dot(x, y) {
    const column = Math.min(x, this.width - 1);
    const start = (Math.min(y, this.height - 1) * this.width + column) * 3;
    return this.dots.subarray(start, start + 3);
  }

  box(left, top, width, height, colour = black) {
    for (let y = top; y < top + height; y += 1) {
      for (let x = left; x < left + width; x += 1) this.dot(x, y).set(colour);
    }
  }

  /** Text in capitals, its dots `size` dots wide. */
  text(left, top, size, text, colour = black) {
    [...text.toUpperCase()].forEach((character, index) => {
      const columns = Buffer.from(glyphs[character], 'hex');
      for (let x = 0; x < 5; x += 1) {
        for (let y = 0; y < 7; y += 1) {
          if ((columns[x] >> y) & 1) {
            this.box(left + (index * 6 + x) * size, top + y * size, size, size, colour);
          }
        }
      }
    });
  }

  /** The rows of a bilevel image, eight dots a byte, the leftmost dot highest; 1 is black. */
  bilevelRows() {
    return Array.from({ length: this.height }, (_, y) => {
      const row = Buffer.alloc(Math.ceil(this.width / 8));
      for (let x = 0; x < this.width; x += 1) {
        if (this.dot(x, y)[1] < 128) row[x >> 3] |= 0x80 >> (x & 7);
      }
      return row;
    });
  }
}
