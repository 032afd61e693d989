// The examples of the manual pages: what they show is what happens.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { source, stage } from './ktp_fixture.mjs';

const manual = (name) => fs.readFileSync(path.join(source, 'docs', name), 'utf8');

/** The texts between .EX and .EE, without the escapes of the manual's own language. */
const examples = (text) =>
  [...text.matchAll(/^\.EX\n(.*?)^\.EE$/gms)].map((match) => match[1].replaceAll('\\e', '\\'));

test('the examples of ktp.1 print what they show', (t) => {
  const { directory, environment } = stage(t);
  const blocks = examples(manual('ktp.1'));
  assert.equal(blocks.length, 4);
  for (const block of blocks) {
    for (const [, command, shown] of block.matchAll(/^\$ (.*)\n((?:[^$].*\n)*)/gm)) {
      const done = spawnSync('bash', ['-c', `${command} 2>&1`], { cwd: directory, env: environment, encoding: 'utf8' });
      assert.equal(done.stdout, shown, command);
    }
  }
});

test('the template of ktp.5 is one, and holds what the text says', (t) => {
  const { ktp } = stage(t);
  const [template] = examples(manual('ktp.5'));
  const shown = ktp('show', '-', { input: template });
  assert.equal(shown.err, '');
  const general = (line) => `qvn_svc_general:qvn_svc_general_1.${line}\n`;
  assert.equal(
    shown.out,
    general('JobTemplateName (string) = Front desk') +
      general('Destination (string, compulsory) = ') +
      general('PhoneNumber (string) = +49 30 1234,5') +
      general('PhoneNumber (string) = +49 30 9876') +
      general('Remarks (string)') +
      general('Footer (string) =  two\\x0Alines'),
  );
});

test('the manual names every verb, and no other', (t) => {
  const { ktp } = stage(t);
  const verbs = manual('ktp.1').split('.SH VERBS')[1].split('.SH OPTIONS')[0];
  const named = [...verbs.matchAll(/^\.BI (\w+) "/gm)].map((match) => match[1]);
  assert.deepEqual(named.sort(), ktp('--verbs').out.trim().split('\n').sort());
});

test('the manual pages are written without a fault', (t) => {
  const man = spawnSync('mandoc', ['-V']);
  const groff = spawnSync('groff', ['--version']);
  if (man.error && groff.error) return t.skip('neither mandoc nor groff is installed');
  for (const page of ['ktp.1', 'ktp.5']) {
    const file = path.join(source, 'docs', page);
    const done = spawnSync('groff', ['-man', '-t', '-Tutf8', '-ww', '-z', file], { encoding: 'utf8' });
    assert.equal(done.stderr, '', page);
  }
});
