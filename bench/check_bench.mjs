// Measures ktp check over a large pool beside wc -l over the same files, in a file system in memory:
// node check_bench.mjs [TEMPLATES]
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fastest, printLine, runToEnd } from './rounds.mjs';

const count = Number(process.argv[2] ?? 10000);
const program = path.resolve(process.env.PLATEN_BUILD, 'cli/ktp');
const attributes = Array.from({ length: 60 }, (_, i) => `    JobAttribute${i} (enum_setting) = a value of usual length\n`);
const template = `# Made for the benchmark\n[service qvn_svc_general]\n  [invocation general_1]\n${attributes.join('')}`;

await runToEnd(async (t) => {
  const pool = fs.mkdtempSync('/dev/shm/check_bench.');
  t.after(() => fs.rmSync(pool, { recursive: true }));
  const files = Array.from({ length: count }, (_, i) => `t${i}.KTP`);
  for (const file of files) fs.writeFileSync(path.join(pool, file), template);
  const run = (command, words) => {
    const done = spawnSync(command, words, { cwd: pool, stdio: ['ignore', 'ignore', 'pipe'] });
    assert.equal(done.status, 0, String(done.error ?? done.stderr));
  };
  const [check, wc] = await fastest(7, [() => run(program, ['check', '.']), () => run('wc', ['-l', ...files])]);
  printLine([`${count} templates of ${template.length} bytes`, 'ms', 'times wc -l']);
  printLine(['ktp check', (check / 1000).toFixed(0), (check / wc).toFixed(2)]);
  printLine(['wc -l', (wc / 1000).toFixed(0), '1.00']);
});
