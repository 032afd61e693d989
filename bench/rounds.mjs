// What the benchmarks through the web server share: rounds, lines of figures, and the clean end.
// SPDX-License-Identifier: MIT

/** The fastest of all rounds of each work, in microseconds; they take turns. */
export async function fastest(rounds, works) {
  const best = works.map(() => Infinity);
  for (let round = 0; round < rounds; ++round) {
    for (const [i, work] of works.entries()) {
      const start = performance.now();
      await work(round);
      best[i] = Math.min(best[i], 1000 * (performance.now() - start));
    }
  }
  return best;
}

export function printLine(cells) {
  console.log([String(cells[0]).padEnd(40), ...cells.slice(1).map((cell) => String(cell).padStart(11))].join(' '));
}

/** Runs `measure` with what stands for a test, and then whatever it has left to do `after`. */
export async function runToEnd(measure) {
  const ends = [];
  try {
    await measure({ after: (end) => ends.push(end) });
  } finally {
    for (const end of ends) await end();
  }
}
