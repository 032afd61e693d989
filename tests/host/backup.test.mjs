// Backups of a device that is at work, what a restore makes of them, and of the end of everything.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { administrator, startMailbox } from './mailbox.mjs';
import { program, run, startPlatend, temporaryDirectory } from './platend.mjs';
import {
  Visitor,
  addUser,
  adminPassword,
  formDevice,
  formPages,
  pageFor,
  startWithAdmin,
  stored,
  template,
  update,
  webPool,
} from './visitor.mjs';

const set = '/form/HTTP_Parser_Set_fn';
const file = `${webPool}/A.KTP`;
const broken = 'this is no template\n';

const command = (data, ...words) => run(program, ['--data', data, ...words]);

/** Runs a command that has to succeed; returns what it prints. */
async function done(data, ...words) {
  const { code, stdout, stderr } = await command(data, ...words);
  assert.deepEqual([code, stderr], [0, '']);
  return stdout;
}

/** The files below a directory with their bytes, {name: text}. */
const tree = (directory) =>
  Object.fromEntries(
    fs
      .readdirSync(directory, { recursive: true, withFileTypes: true })
      .filter((entry) => entry.isFile())
      .map((entry) => path.join(entry.parentPath ?? entry.path, entry.name))
      .map((name) => [path.relative(directory, name), fs.readFileSync(name, 'latin1')])
      .sort(),
  );

const pool = (data) => tree(path.join(data, 'pool'));

const edit = (visitor, value, was) =>
  visitor.post(pageFor('edit', file), set, [['ParserFilename', file], ...update('Note', value, { was })]);

const rights = (name) => (fs.statSync(name).mode & 0o777).toString(8);

test('a device gets back what a backup of another one holds', async (t) => {
  const { platend, admin } = await startWithAdmin(t, {
    templates: { 'web/Broken.KTP': broken, 'web/deep/D.KTP': template({ Note: '(string) = deep' }) },
  });
  await addUser(platend, admin);
  await done(platend.data, 'config', 'set', 'panel.volume', '7');
  const backup = path.join(temporaryDirectory(t), 'device.backup');
  const told = await done(platend.data, 'backup', backup);
  assert.match(told, new RegExp(`^${backup} holds 7 templates, accounts and settings of \\S+Z\\.\nbroken, kept as it is: `));
  assert.match(told, /: \/tmp\/template\/pool\/web\/Broken\.KTP:1:1: /);
  assert.equal(rights(backup), '600');
  assert.deepEqual(fs.readdirSync(path.dirname(backup)), ['device.backup']);

  const other = formDevice(t, { 'web/A.KTP': template({ Note: '(string) = other' }), 'web/More.KTP': template({}) });
  const restored = await done(other, 'restore', backup);
  assert.match(restored, /^templates: 3 put back, 4 were the same, 1 deleted\nbroken when the backup was made/);
  assert.deepEqual(pool(other), pool(platend.data));
  assert.match(await done(other, 'config', 'get', 'panel.volume'), /^7\n$/);
  assert.equal(await done(other, 'account', 'list'), await done(platend.data, 'account', 'list'));
  const kept = tree(path.join(other, 'history'));
  assert.deepEqual(
    Object.keys(kept).map((name) => name.replace(/\/\d+-\w+-(\w+)-.*/, ' $1')),
    ['tmp/template/pool/web/A.KTP copy', 'tmp/template/pool/web/More.KTP delete'],
  );
  const again = await startPlatend(t, { pages: formPages, data: other });
  assert.equal(again.firstPassword, undefined);
  const visitor = new Visitor(again);
  assert.equal((await visitor.logIn('admin', adminPassword)).headers.location, '/index.html');
  assert.match(await done(other, 'restore', backup), /^templates: 0 put back, 7 were the same, 0 deleted\n/);
});

test('a platend that serves goes on with what is restored, and nobody is logged in', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const backup = path.join(temporaryDirectory(t), 'b');
  await done(platend.data, 'backup', backup);
  const before = pool(platend.data);
  assert.equal((await edit(admin, 'later', 'old')).status, 303);
  await addUser(platend, admin, 'later');
  assert.notDeepEqual(pool(platend.data), before);
  await done(platend.data, 'restore', backup);
  assert.deepEqual(pool(platend.data), before);
  assert.equal((await admin.get('/index.html')).login, null);
  const visitor = new Visitor(platend);
  assert.equal((await visitor.logIn('later', 'password of later')).status, 403);
  assert.equal((await visitor.logIn('admin', adminPassword)).status, 303);
  assert.equal((await edit(visitor, 'again', 'old')).status, 303);
  const audit = (await visitor.get('/download/audit')).body;
  for (const entry of [`"","","backup","${backup}","done"`, `"","","restore","${backup}","done"`, '"account add","later","done"']) {
    assert.ok(audit.includes(entry), audit);
  }
});

test('a backup under load is of one moment', async (t) => {
  const { platend } = await startMailbox(t);
  const admin = await administrator(platend);
  const directory = temporaryDirectory(t);
  const switched = (shown) => ({
    promptOnPrivateScan: 'FALSE',
    publicPasswordEnabled: 'FALSE',
    scanToPublic: shown ? 'TRUE' : 'FALSE',
  });
  let working = true;
  let posts = 0;
  const work = async () => {
    for (; working; ++posts) {
      const answer = await admin.post('/mailbox/settings.php', '/do/mailbox-settings', switched(posts % 2));
      assert.equal(answer.status, 303, answer.reason);
    }
  };
  const backUp = async () => {
    for (let i = 0; i < 16; ++i) await done(platend.data, 'backup', path.join(directory, `${i}`));
    working = false;
  };
  await Promise.all([work(), backUp()]);
  assert.ok(posts > 2);
  await Promise.all([1, 2, 3, 4].map(() => done(platend.data, 'backup', path.join(directory, 'same'))));
  await done(platend.data, 'restore', '--check', path.join(directory, 'same'));
  assert.equal(fs.readdirSync(directory).length, 17);
  const other = formDevice(t);
  for (let i = 0; i < 16; ++i) {
    await done(other, 'restore', path.join(directory, `${i}`));
    const setting = (await command(other, 'config', 'get', 'scanToMailbox.scanToPublic')).stdout;
    const isThere = fs.existsSync(path.join(other, 'pool/mailbox/_PUBLIC.KTP'));
    assert.equal(isThere, setting !== 'FALSE\n', `backup ${i}`);
  }
});

/** What a device holds that a refused restore must leave alone; logs of the database left out. */
const state = (data) => ({ pool: pool(data), history: tree(path.join(data, 'history')) });

test('of a damaged backup nothing is restored', async (t) => {
  const data = formDevice(t, { 'web/Long.KTP': template({ Note: `(string) = ${'x'.repeat(9000)}` }) });
  const platend = await startPlatend(t, { pages: formPages, data });
  await done(data, 'config', 'set', 'panel.volume', '7');
  const directory = temporaryDirectory(t);
  const backup = path.join(directory, 'whole');
  const damaged = path.join(directory, 'damaged');
  await done(data, 'backup', backup);
  await platend.stop();
  const bytes = fs.readFileSync(backup);
  const other = formDevice(t, { 'web/Mine.KTP': template({}) });
  await done(other, 'restore', backup);
  fs.writeFileSync(path.join(other, 'pool/web/Mine.KTP'), template({}));
  await done(other, 'config', 'set', 'panel.volume', '5');
  const before = state(other);
  const refuses = async (content, why) => {
    fs.writeFileSync(damaged, content);
    const { code, stdout, stderr } = await command(other, 'restore', damaged);
    assert.deepEqual([code, stdout], [1, ''], why);
    assert.match(stderr, /^platend restore: .*damaged.*; nothing was changed\n$/, why);
    assert.deepEqual(state(other), before, why);
  };
  for (const size of [0, 1, 99, 100, 4096, bytes.length / 2, bytes.length - 4096, bytes.length - 1]) {
    await refuses(bytes.subarray(0, size), `cut to ${size}`);
  }
  const flipped = (at, bit = 1) => {
    const copy = Buffer.from(bytes);
    copy[at] ^= bit;
    return copy;
  };
  const found = (text) => bytes.indexOf(text) + 1;
  for (const text of ['SQLite format', 'CREATE TABLE template', 'xxxxxx', 'qvn_svc_general', '/web/A.KTP', 'panel.volume', '$argon2id$', 'administrator']) {
    assert.notEqual(found(text), 0, text);
    await refuses(flipped(found(text)), `a bit of ${text}`);
  }
  // Elsewhere the byte may be one that SQLite does not use: the backup is whole then.
  const whole = createHash('sha256').update(JSON.stringify(pool(data))).digest('hex');
  for (let at = 7; at < bytes.length; at += Math.ceil(bytes.length / 24)) {
    fs.writeFileSync(damaged, flipped(at, 0x40));
    const { code } = await command(other, 'restore', damaged);
    if (code === 1) assert.deepEqual(state(other), before, `byte ${at}`);
    else assert.equal(createHash('sha256').update(JSON.stringify(pool(other))).digest('hex'), whole, `byte ${at}`);
    fs.writeFileSync(path.join(other, 'pool/web/Mine.KTP'), template({}));
    before.history = state(other).history;
  }
  assert.match(await done(other, 'config', 'get', 'panel.volume'), /^[57]\n$/);
});

test('a file that is no backup, and words that are not understood', async (t) => {
  const data = formDevice(t);
  const directory = temporaryDirectory(t);
  const refuses = async (words, status, text) => {
    const { code, stdout, stderr } = await command(data, ...words);
    assert.deepEqual([code, stdout, stderr], [status, '', text]);
  };
  const backup = path.join(directory, 'b');
  const database = path.join(data, 'state/configuration.db');
  await refuses(['backup', backup], 1, `platend backup: ${database}: No such file or directory; start platend once, or name its data by --data\n`);
  await (await startPlatend(t, { pages: formPages, data })).stop();
  await refuses(['restore', database], 1, `platend restore: ${database} is no backup of platend; nothing was changed\n`);
  await refuses(['restore', backup], 1, `platend restore: ${backup} cannot be read: No such file or directory\n`);
  for (const words of [[], ['a', 'b'], ['--check']]) {
    await refuses(['backup', ...words], 2, 'usage: platend backup FILE\n');
    await refuses(['restore', ...words], 2, 'usage: platend restore [--check] FILE\n');
  }
  await done(data, 'backup', backup);
  const before = tree(data);
  assert.match(await done(data, 'restore', '--check', backup), new RegExp(`^${backup} is a whole backup of \\S+Z\n$`));
  assert.deepEqual(pool(data), Object.fromEntries(Object.entries(before).filter(([name]) => name.startsWith('pool/')).map(([name, text]) => [name.slice(5), text])));
});

test('a disk that is full leaves the older backup', async (t) => {
  const note = `(string) = ${'x'.repeat(1_000_000)}`;
  const data = formDevice(t, { 'web/Long.KTP': template({ Note: note }) });
  await (await startPlatend(t, { pages: formPages, data })).stop();
  const directory = temporaryDirectory(t);
  const backup = path.join(directory, 'b');
  fs.writeFileSync(backup, 'the older one');
  const limited = ['-c', 'trap "" XFSZ; ulimit -f 600; exec "$@"', 'bash', program, '--data', data, 'backup', backup];
  const { code, stdout, stderr } = await run('bash', limited);
  assert.deepEqual([code, stdout], [1, '']);
  assert.match(stderr, new RegExp(`^platend backup: ${backup}\\.part: .*; `));
  assert.deepEqual(tree(directory), { b: 'the older one' });
  await done(data, 'backup', backup);
});

test('a start after the kill of everything finds what was acknowledged', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  let acknowledged = -1;
  const reached = new Promise((resolve) => {
    const work = async () => {
      for (let i = 0; ; ++i) {
        const answer = await edit(user, `edit ${i}`, i ? `edit ${i - 1}` : 'old');
        assert.equal(answer.status, 303, answer.reason);
        acknowledged = i;
        if (i === 12) resolve();
      }
    };
    work().catch((cut) => {
      if (cut instanceof assert.AssertionError) throw cut;
    });
  });
  await reached;
  for (const id of platend.processes()) {
    try {
      process.kill(Number(id), 'SIGKILL');
    } catch (gone) {
      assert.equal(gone.code, 'ESRCH');
    }
  }
  await platend.gone();
  const again = await startPlatend(t, { pages: formPages, data: platend.data });
  const value = Number(stored(again, 'web/A.KTP').match(/Note \(string\) = edit (\d+)\n/)[1]);
  assert.ok(value === acknowledged || value === acknowledged + 1, `${value} of ${acknowledged}`);
  assert.equal(again.firstPassword, undefined);
  const visitor = new Visitor(again);
  assert.equal((await visitor.logIn('anna', 'password of anna')).status, 303);
  assert.equal((await edit(visitor, 'after', `edit ${value}`)).status, 303);
  assert.match(stored(again, 'web/A.KTP'), /Note \(string\) = after\n/);
  assert.deepEqual(fs.readdirSync(path.join(again.data, 'pool/web')), ['A.KTP']);
  const backup = path.join(temporaryDirectory(t), 'b');
  await done(again.data, 'backup', backup);
});
