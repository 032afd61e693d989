// Programs that a test of the packaging runs.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';

import { run } from '../host/platend.mjs';

/** Runs a program that has to succeed; returns what it printed. */
export async function succeed(command, args, options) {
  const { code, stdout, stderr } = await run(command, args, options);
  assert.equal(code, 0, `${command} ${args.join(' ')}\n${stdout}${stderr}`);
  return stdout;
}
