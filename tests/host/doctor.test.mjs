// platend doctor: what it tells of a device, whole and broken, and that no secret is in it.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { emptyDevice, program, run, temporaryDirectory, writeFiles } from './platend.mjs';
import { adminPassword, startWithAdmin, template, webPool } from './visitor.mjs';

const doctor = (data, args = [], words = []) =>
  run(program, ['--data', data, ...args, 'doctor', ...words]);

/** The lines of the section whose title begins with `title`. */
function section(report, title) {
  const found = report.split('\n== ').find((part) => part.startsWith(title));
  assert.ok(found, `${title} in ${report}`);
  return found.trimEnd().split('\n').slice(1);
}

const logLine = (level, place, text) => `2026-11-21T10:16:46.123Z 4711 ${level} ${place} ${text}\n`;

/** Plants a secret wherever a device can hold one; returns all of them. */
async function plant(platend, admin, log) {
  const secrets = [platend.firstPassword, adminPassword];
  const secret = (place) => {
    secrets.push(`geheim-${place}-4711`);
    return secrets.at(-1);
  };
  const set = async (key, value) => {
    const args = ['--data', platend.data, 'config', 'set', key, value];
    assert.equal((await run(program, args)).code, 0);
  };
  await set('scanToMailbox.anna.password', secret('password'));
  await set('scanToMailbox.anna.sid', secret('sid'));
  await set('device.PIN', secret('pin'));
  await set('anything', secret('setting'));
  const held = { JobTemplateName: '(string) = x', Note: `(string) = ${secret('template')}` };
  writeFiles(platend.data, {
    'pool/web/held.ktp': template(held),
    'pool/web/broken.ktp': `${template(held)}${secret('broken')}\n`,
    'spool/image_store/s2mailbox/anna/job/job.log': `MetaDataValue\t${secret('job')}\n`,
    'history/x': secret('history'),
  });
  const typed = secret('object');
  await admin.post('/delete.html', `/form/HTTP_Parser_Delete_fn`, {
    ParserFilename: `${webPool}/${typed}`,
    LoginPassword: secret('field'),
  });
  await admin.send(`/form/${secret('address')}`, 'a=b');
  await admin.get(`/edit.html?PIN=${secret('query')}`);
  await admin.post('/login.html', '/do/login', { name: secret('name'), password: secret('login') });
  fs.appendFileSync(
    log,
    logLine(9, 'configuration.cpp:1', `set ${secret('update')}`) +
      logLine(102, 'values.cpp:1', secret('value')) +
      logLine(3, 'http_parser.cpp:57', `*** Illegal value: ${secret('error')}`) +
      logLine(3, 'supervisor.cpp:9', `Worker 12 has ended: exit status 1, at work on: GET /${secret('work')}`) +
      logLine(3, secret('place'), 'x') +
      `${secret('other')}\n`,
  );
  const state = path.join(platend.data, 'state');
  const kept = fs.readdirSync(state).map((name) => fs.readFileSync(path.join(state, name), 'latin1')).join();
  for (const place of ['object', 'address', 'password', 'pin']) assert.ok(kept.includes(`geheim-${place}-`), place);
  return [...secrets, ...admin.cookies.values()];
}

test('no secret of the device is in the report, while it serves and afterwards', async (t) => {
  const log = path.join(temporaryDirectory(t), 'log');
  const { platend, admin } = await startWithAdmin(t, { args: ['--log-file', log, '--log-level', '102'] });
  const secrets = await plant(platend, admin, log);
  assert.ok(secrets.length > 18 && secrets.every((secret) => secret.length > 8), secrets.join());
  for (const state of ['serving', 'stopped']) {
    const { code, stdout, stderr } = await doctor(platend.data, ['--log-file', log]);
    assert.deepEqual([code, stderr], [0, ''], state);
    for (const secret of secrets) assert.ok(!stdout.includes(secret), `${state}: ${secret}`);
    assert.match(stdout, /^anything: set$/m);
    assert.match(stdout, /broken\.ktp:5:1: /);
    assert.match(stdout, /4711 3 http_parser\.cpp:57$/m);
    assert.match(stdout, /4711 3 supervisor\.cpp:9 Worker 12 has ended: exit status 1$/m);
    assert.match(stdout, /^workers that ended before their time: 1$/m);
    assert.match(stdout, /^[-\dT:Z]+ another address or command: refused: no such form$/m);
    assert.match(stdout, /^[-\dT:Z]+ HTTP_Parser_Delete_fn: refused$/m);
    assert.doesNotMatch(stdout, /configuration\.cpp:1|values\.cpp|WRONG/);
    await platend.stop();
  }
});

test('versions and options are told, and settings by their names, switches with their value', async (t) => {
  const { platend } = await startWithAdmin(t);
  for (const [key, value] of [['a.on', 'TRUE'], ['a.none', ''], ['a.password', 'TRUE']]) {
    await run(program, ['--data', platend.data, 'config', 'set', key, value]);
  }
  const { stdout } = await doctor(platend.data, ['--workers', '3']);
  const versions = section(stdout, 'Versions').map((line) => line.split(':')[0]);
  assert.deepEqual(versions, ['platend', 'lighttpd', 'libphp', 'sqlite', 'bubblewrap', 'kernel', 'time']);
  for (const line of section(stdout, 'Versions').slice(0, 5)) assert.match(line, /^\w+: \d+\.\d+\.\d+$/);
  const options = section(stdout, 'Options');
  assert.ok(options.includes('workers = 3') && options.includes(`data = ${platend.data}`), stdout);
  const settings = section(stdout, 'Settings');
  for (const line of ['a.on: TRUE', 'a.none: empty', 'a.password: set']) assert.ok(settings.includes(line), line);
});

test('what is missing or has wrong rights is told with what to do', async (t) => {
  const directory = temporaryDirectory(t);
  const data = emptyDevice(path.join(directory, 'data'));
  writeFiles(directory, { 'key.pem': 'x', 'data/spool': 'a file' });
  fs.chmodSync(path.join(directory, 'key.pem'), 0o644);
  const key = path.join(directory, 'key.pem');
  const { code, stdout } = await doctor(data, ['--certificate', `${directory}/none.pem`, '--private-key', key]);
  assert.equal(code, 0);
  const places = section(stdout, 'Directories');
  const told = (name) => places.find((line) => line.startsWith(`${name} (`));
  assert.match(told(`${data}/pool`), /: No such file or directory; make it: install -d -o \S+ \/.*\/pool$/);
  assert.match(told(`${data}/spool`), /; WRONG: it is no directory; move away what is there$/);
  assert.match(told(`${directory}/none.pem`), /: No such file or directory$/);
  assert.match(told(key), /mode 0644, .*; WRONG: others may use it; chmod 600 /);
  assert.deepEqual(section(stdout, 'Settings'), [`${data}/state/configuration.db: No such file or directory`]);
  assert.deepEqual(fs.readdirSync(data).sort(), ['etc', 'spool'], 'nothing is made');
});

test('a faulty configuration does not keep it from telling the rest', async (t) => {
  const data = emptyDevice(path.join(temporaryDirectory(t), 'data'));
  writeFiles(data, { 'etc/platend.conf': 'port = geheim\nnonsense\n' });
  const { code, stdout, stderr } = await doctor(data);
  assert.equal(code, 0);
  assert.match(stderr, /platend\.conf:1:/);
  assert.doesNotMatch(stdout, /geheim|nonsense/);
  assert.match(stdout, /^faults in it: 2, so nothing of it is below; platend --check tells them$/m);
  assert.match(stdout, /^data = \//m);
});

test('the report goes into a new file for its owner alone', async (t) => {
  const directory = temporaryDirectory(t);
  const data = emptyDevice(path.join(directory, 'data'));
  const file = path.join(directory, 'report.txt');
  assert.deepEqual(await doctor(data, [], [file]), { code: 0, signal: null, stdout: '', stderr: '' });
  assert.match(fs.readFileSync(file, 'utf8'), /^Report of platend\. .*\n\n== Versions\n/);
  assert.equal(fs.statSync(file).mode & 0o777, 0o600);
  fs.writeFileSync(file, 'mine');
  const again = await doctor(data, [], [file]);
  assert.equal(again.code, 1);
  assert.equal(again.stderr, `platend doctor: ${file}: File exists; name another file\n`);
  assert.equal(fs.readFileSync(file, 'utf8'), 'mine');
  const misused = await doctor(data, [], [file, 'b']);
  assert.deepEqual([misused.code, misused.stderr], [2, 'usage: platend doctor [FILE]\n']);
});
