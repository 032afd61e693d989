// The manual pages: every option is explained, every example works.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {
  emptyDevice,
  program,
  run,
  source,
  startPlatend,
  temporaryDirectory,
} from '../host/platend.mjs';
import { succeed } from './commands.mjs';

const page = (name) => fs.readFileSync(path.join(source, 'docs', name), 'utf8').replaceAll('\\-', '-');

/** The examples of a page, each as its lines. */
function examples(name) {
  return [...page(name).matchAll(/^\.EX\n([^]*?)^\.EE$/gm)].map((match) => match[1]);
}

test('every option has its entry in a page', async () => {
  const help = await succeed(program, ['--help']);
  const options = [...help.matchAll(/^ {2}--([a-z-]+) /gm)].map((match) => match[1]);
  assert.ok(options.length > 15);
  const manual = page('platend.8');
  const settings = page('platend.conf.5');
  for (const name of options) {
    const entries = [
      new RegExp(`^\\.BI? --${name}( |$)`, 'm').test(manual),
      new RegExp(`^\\.BI ${name} `, 'm').test(settings),
    ];
    assert.equal(entries.filter(Boolean).length, 1, name);
  }
});

test('the examples of platend(8) work', async (t) => {
  const cwd = temporaryDirectory(t);
  emptyDevice(path.join(cwd, 'data'));
  const commands = examples('platend.8').flatMap((text) => text.trimEnd().split('\n'));
  assert.ok(commands.length >= 5);
  for (const command of commands) {
    const [name, ...args] = command.split(' ');
    assert.equal(name, 'platend');
    if (args.includes('--port')) {
      const platend = await startPlatend(t, { data: false, args, options: { cwd } });
      assert.equal((await platend.get('/login.html')).status, 200);
      continue;
    }
    const { code, stderr } = await run(program, args, { cwd });
    assert.equal(code, 0, `${command}\n${stderr}`);
  }
});

test('the example of platend.conf(5) has no fault', async (t) => {
  const directory = temporaryDirectory(t);
  const [text] = examples('platend.conf.5');
  await succeed(program, ['--state', directory, 'certificate']);
  const file = path.join(directory, 'platend.conf');
  fs.writeFileSync(file, text.replaceAll('/etc/platen', directory));
  assert.equal(await succeed(program, ['--config', file, '--check']), '');
});

test('the pages are set without a warning', async (t) => {
  const { code } = await run('sh', ['-c', 'command -v groff']);
  if (code !== 0) return t.skip('groff is not installed');
  for (const name of ['platend.8', 'platend.conf.5']) {
    const file = path.join(source, 'docs', name);
    const { stderr } = await run('groff', ['-man', '-Tutf8', '-ww', '-z', file]);
    assert.equal(stderr, '');
  }
});
