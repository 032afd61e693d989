// A copy of the sample templates, and ktp with a history of its own.
// SPDX-License-Identifier: MIT
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';

export const source = process.env.PLATEN_SOURCE;
export const program = path.join(process.env.PLATEN_BUILD, 'cli/ktp');

/** A directory with the sample pools; it is removed when the test ends. */
export function stage(t) {
  const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'ktp_test.'));
  t.after(() => fs.rmSync(directory, { recursive: true }));
  fs.cpSync(path.join(source, 'samples/pool'), directory, { recursive: true });
  fs.mkdirSync(path.join(directory, '.history'));
  const environment = {
    ...process.env,
    KTP_HISTORY: path.join(directory, '.history'),
    TMPDIR: directory,
    PATH: `${path.dirname(program)}:${process.env.PATH}`,
  };
  const file = (name) => path.join(directory, name);
  return {
    directory,
    file,
    environment,
    read: (name) => fs.readFileSync(file(name), 'latin1'),
    write: (name, text) => fs.writeFileSync(file(name), text, 'latin1'),
    /** Runs ktp; the last argument may be { input }. */
    ktp: (...words) => {
      const input = typeof words.at(-1) === 'object' ? words.pop().input : '';
      const done = spawnSync(program, words, { cwd: directory, env: environment, input, encoding: 'utf8' });
      return { status: done.status, out: done.stdout, err: done.stderr };
    },
  };
}
