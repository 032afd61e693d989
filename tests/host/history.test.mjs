// The history over HTTP: who may bring what back, and what is refused with nothing changed.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { emptyDevice, run, program, startPlatend, temporaryDirectory, writeFiles } from './platend.mjs';
import {
  Visitor,
  addUser,
  formPages,
  pageFor,
  startWithAdmin,
  stored,
  template,
  update,
  webPool,
} from './visitor.mjs';

const block = (id) => `<script type="application/json" id="${id}"><!--#${id}--></script>`;

formPages['history.html'] =
  `<!DOCTYPE html><title>history</title><h1>history</h1><form method="post"><!--#token--></form>` +
  `<p id="reason"><!--#reason--></p><p id="notice"><!--#notice--></p>` +
  block('versions') + block('difference') + block('deleted');
formPages['pool.html'] += block('deleted');

const set = '/form/HTTP_Parser_Set_fn';
const remove = '/form/HTTP_Parser_Delete_fn';
const bringBack = '/do/bring-back';
const file = `${webPool}/A.KTP`;
const pool = '/tmp/template/pool';

const json = ({ body }, id) =>
  JSON.parse(body.match(new RegExp(`id="${id}">([^]*?)</script>`))[1]);

/** What the history page of a template tells. */
async function history(visitor, path, version) {
  const query = version === undefined ? '' : `&version=${encodeURIComponent(version)}`;
  const answer = await visitor.get(pageFor('history', path) + query);
  return { ...json(answer, 'versions'), difference: json(answer, 'difference') };
}

/** Changes the note of a template. */
async function note(visitor, path, was, text) {
  const answer = await visitor.post(pageFor('edit', path), set, [
    ['ParserFilename', path],
    ...update('Note', text, { was }),
  ]);
  assert.equal(answer.status, 303, answer.reason);
}

async function post(visitor, path, version, seen) {
  return visitor.post(pageFor('history', path), bringBack, {
    ParserFilename: path,
    version,
    seen: seen ?? (await history(visitor, path)).seen,
  });
}

test('the history tells who did what, compares with it, and is below the data', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const anna = await addUser(platend, admin);
  const first = stored(platend, 'web/A.KTP');
  await note(admin, file, 'old', 'of the admin');
  const second = stored(platend, 'web/A.KTP');
  await note(anna, file, 'of the admin', 'of Anna');
  const { file: named, present, versions, difference } = await history(anna, file);
  assert.deepEqual([named, present, difference], [file, true, null]);
  assert.deepEqual(
    versions.map(({ who, act, size }) => [who, act, size]),
    [
      ['anna', 'save', second.length],
      ['admin', 'save', first.length],
    ],
  );
  for (const { time } of versions) assert.match(time, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/);
  const compared = await history(anna, file, versions[1].id);
  assert.equal(compared.difference.fault, null);
  assert.deepEqual(compared.difference.after, { file });
  assert.deepEqual(
    compared.difference.attributes
      .filter(({ attribute }) => attribute === 'Note')
      .map(({ before, after }) => [before.values, after.values]),
    [[['old'], ['of Anna']]],
  );
  const directory = path.join(platend.data, 'history');
  assert.equal(fs.statSync(directory).mode & 0o777, 0o700);
  const kept = compared.difference.before.file;
  assert.ok(kept.startsWith(`${directory}/`), kept);
  assert.equal(fs.readFileSync(kept, 'latin1'), first);
});

test('versions of elsewhere, of nothing and of other templates are refused', async (t) => {
  const { platend, admin } = await startWithAdmin(t, {
    templates: { 'web/B.KTP': template({ JobTemplateName: '(string) = B', Note: '(string) = b' }) },
  });
  for (let i = 0; i < 2; ++i) await note(admin, file, i === 0 ? 'old' : '1', String(i + 1));
  const [, oldest] = (await history(admin, file)).versions;
  await note(admin, `${webPool}/B.KTP`, 'b', 'bb');
  const a = stored(platend, 'web/A.KTP');
  const b = stored(platend, 'web/B.KTP');
  const { seen } = await history(admin, file);
  const rows = [
    ['../1', 422],
    ['..', 422],
    ['/etc/passwd', 422],
    [`${platend.data}/pool/web/B.KTP`, 422],
    ['.', 422],
    ['', 422],
    ['1\0', 400],
    ['99', 404],
    ['0', 404],
    [`${oldest.id} `, 404],
    [`0${oldest.id}`, 404],
  ];
  for (const [version, status] of rows) {
    const answer = await post(admin, file, version, seen);
    assert.equal(answer.status, status, JSON.stringify(version));
    assert.notEqual(answer.reason, '', JSON.stringify(version));
  }
  // A version that only the other template has.
  const other = (await history(admin, file)).versions.find(
    ({ id }) => id !== '1',
  );
  assert.equal((await post(admin, `${webPool}/B.KTP`, other.id)).status, 404);
  for (const foreign of ['/etc/passwd', `${webPool}/../web/A.KTP`, platend.data, 'A.KTP', '']) {
    const answer = await admin.post(pageFor('history', file), bringBack, {
      ParserFilename: foreign,
      version: oldest.id,
      seen,
    });
    assert.equal(answer.status, 422, foreign);
  }
  for (const left of ['ParserFilename', 'version', 'seen']) {
    const fields = { ParserFilename: file, version: oldest.id, seen };
    delete fields[left];
    assert.equal((await admin.post(pageFor('history', file), bringBack, fields)).status, 422, left);
  }
  assert.equal(stored(platend, 'web/A.KTP'), a);
  assert.equal(stored(platend, 'web/B.KTP'), b);
  for (const version of ['../1', 'a/b']) {
    const address = `${pageFor('history', file)}&version=${encodeURIComponent(version)}`;
    assert.equal((await admin.get(address)).status, 400, version);
  }
  const gone = await history(admin, file, '99');
  assert.equal(gone.difference.fault, 'This version is not kept any more.');
});

test('only who may change a template brings it back', async (t) => {
  const { platend, admin } = await startWithAdmin(t, {
    templates: { 'factory/MAILBOX.KTP': template({ JobTemplateName: '(string) = F' }) },
  });
  const anna = await addUser(platend, admin);
  const shared = [`${pool}/system/S.KTP`, `${pool}/system/default.ktp`, `${pool}/mailbox/M.KTP`];
  for (const target of shared) {
    await note(admin, target, 'old', 'new');
    const { versions } = await history(anna, target);
    assert.equal((await post(anna, target, versions[0].id)).status, 403, target);
  }
  const changed = shared.map((target) => stored(platend, target.slice(pool.length + 1)));
  const visitor = new Visitor(platend);
  assert.equal((await visitor.get(pageFor('history', shared[0]))).status, 303);
  assert.equal((await post(admin, `${pool}/factory/F.KTP`, '1', 'none')).status, 422);
  assert.equal((await admin.get(bringBack)).status, 405);
  const { token } = await visitor.get('/index.html');
  const forged = await visitor.send(
    bringBack,
    new URLSearchParams({ token, ParserFilename: file, version: '1', seen: 'none' }).toString(),
  );
  assert.equal(forged.status, 403);
  assert.deepEqual(
    shared.map((target) => stored(platend, target.slice(pool.length + 1))),
    changed,
  );
  for (const target of shared) {
    const { versions } = await history(admin, target);
    const answer = await post(admin, target, versions[0].id);
    assert.equal(answer.status, 303, answer.reason);
    const { notice } = await admin.get(pageFor('history', target));
    const runsUpkeep = /\n.* templates? /.test(notice);
    assert.equal(runsUpkeep, target.includes('/mailbox/'), notice);
    const { attributes } = (await history(admin, target, versions[0].id)).difference;
    assert.deepEqual(attributes.filter(({ attribute }) => attribute === 'Note'), [], target);
  }
});

test('a template that changed meanwhile is refused with 409', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  await note(admin, file, 'old', 'new');
  const { seen, versions } = await history(admin, file);
  await note(admin, file, 'new', 'newer');
  const answer = await post(admin, file, versions[0].id, seen);
  assert.equal(answer.status, 409);
  assert.match(answer.reason, /^Somebody else has changed "A.KTP" meanwhile\./);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = newer/);
  await admin.post(pageFor('delete', file), remove, { ParserFilename: file });
  const late = await post(admin, file, versions[0].id, seen);
  assert.equal(late.status, 409);
  assert.match(late.reason, /^"A.KTP" was deleted meanwhile\./);
  assert.equal(stored(platend, 'web/A.KTP'), null);
});

test('deleted templates are listed for those who may make them again', async (t) => {
  const hostile = '<i>"&.KTP';
  const content = template({ JobTemplateName: '(string) = x', Note: '(string) = old' });
  const { platend, admin } = await startWithAdmin(t, { templates: { [`web/${hostile}`]: content } });
  const anna = await addUser(platend, admin);
  for (const target of [file, `${webPool}/${hostile}`, `${pool}/system/S.KTP`]) {
    const answer = await admin.post(pageFor('delete', target), remove, { ParserFilename: target });
    assert.equal(answer.status, 303, answer.reason);
  }
  const listed = async (visitor, directory) => {
    const answer = await visitor.get(`/pool.html?TemplateDir=${encodeURIComponent(directory)}`);
    return json(answer, 'deleted')?.map(({ name, who }) => `${name} ${who}`) ?? null;
  };
  assert.deepEqual(await listed(anna, webPool), [`${hostile} admin`, 'A.KTP admin']);
  assert.deepEqual(await listed(admin, `${pool}/system`), ['S.KTP admin']);
  assert.equal(await listed(anna, `${pool}/system`), null);
  assert.equal(await listed(new Visitor(platend), webPool), null);
  assert.deepEqual(await listed(admin, `${pool}/factory`), []);
  const { versions, seen, present } = await history(anna, `${webPool}/${hostile}`);
  assert.deepEqual([seen, present], ['none', false]);
  assert.equal((await post(anna, `${webPool}/${hostile}`, versions[0].id)).status, 303);
  assert.equal(stored(platend, `web/${hostile}`), content);
  assert.deepEqual(await listed(anna, webPool), ['A.KTP admin']);
});

test('a history in a pool is refused at the start', async (t) => {
  const data = path.join(temporaryDirectory(t), 'data');
  emptyDevice(data);
  for (const directory of [`${data}/pool/web/x`, '/tmp/template/pool/history', `${data}/tarn`]) {
    const { code, stderr } = await run(program, ['--data', data, '--port', '0', '--history', directory]);
    assert.equal(code, 1, directory);
    assert.equal(
      stderr,
      `platend: the directory ${directory} of the history lies in a pool of templates; ` +
        'choose another with --history\n',
    );
  }
});

test('the history may be kept elsewhere, and a broken template is explained to administrators', async (t) => {
  const elsewhere = path.join(temporaryDirectory(t), 'kept');
  const { platend, admin } = await startWithAdmin(t, { args: ['--history', elsewhere] });
  await note(admin, file, 'old', 'new');
  assert.equal(fs.existsSync(path.join(platend.data, 'history')), false);
  assert.ok(fs.readdirSync(elsewhere, { recursive: true }).length > 1);
  const anna = await addUser(platend, admin);
  writeFiles(path.join(platend.data, 'pool/web'), { 'A.KTP': '[service s]\nno such line\n' });
  const said = `Template not available : ${file}`;
  assert.equal((await anna.get(pageFor('edit', file))).reason, said);
  const { reason } = await admin.get(pageFor('edit', file));
  assert.ok(reason.startsWith(`${said}\n${file}:2:1: `), reason);
});
