// Template files downloaded and uploaded over HTTP, byte for byte, and what is refused.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { Visitor, addUser, startWithAdmin, stored, template, webPool } from './visitor.mjs';

const limit = 4 * 1024 * 1024;
const address = (file) => `/download/template?ParserFilename=${encodeURIComponent(file)}`;

/** Uploads `bytes` as the file of that name with `fields`, as a browser does. */
async function upload(visitor, bytes, fields, fileName = 'mine.KTP') {
  const { token } = await visitor.get('/index.html');
  const boundary = '----boundary';
  const part = (name, more, value) =>
    [`--${boundary}\r\nContent-Disposition: form-data; name="${name}"${more}\r\n\r\n`, value, '\r\n'];
  const parts = [
    ...Object.entries({ token, ...fields }).flatMap(([name, value]) => part(name, '', value)),
    ...(bytes === null ? [] : part('file', `; filename="${fileName}"`, bytes)),
    `--${boundary}--\r\n`,
  ];
  const body = Buffer.concat(parts.map((piece) => Buffer.from(piece)));
  return visitor.send('/do/upload', body, {
    'content-type': `multipart/form-data; boundary=${boundary}`,
    'content-length': body.length,
  });
}

/** The bytes of a download, which are no text. */
async function download(visitor, file, version = '') {
  const cookie = [...visitor.cookies].map(([name, value]) => `${name}=${value}`).join('; ');
  const answer = await fetch(new URL(address(file) + version, visitor.platend.address), { headers: { cookie } });
  return { status: answer.status, headers: answer.headers, bytes: Buffer.from(await answer.arrayBuffer()) };
}

const files = (platend, pool) => fs.readdirSync(path.join(platend.data, 'pool', pool)).sort();
const read = (platend, name) => fs.readFileSync(path.join(platend.data, 'pool', name));

// Comments, line ends and bytes that are no UTF-8 are the visitor's own.
const odd = Buffer.concat([
  Buffer.from('# my own\r\n' + template({ JobTemplateName: '(string) = another', Note: '(string) = x' }).trimEnd()),
  Buffer.from([0xff, 0xfe, 0xc3, 0x0a]),
]);

test('a template is downloaded under its own name and uploaded again byte for byte', async (t) => {
  const name = 'Ä "b" %41\'.KTP';
  const { platend, admin } = await startWithAdmin(t, { templates: { [`web/${name}`]: odd } });
  const user = await addUser(platend, admin);
  const { status, headers, bytes } = await download(user, `${webPool}/${name}`);
  assert.equal(status, 200);
  assert.deepEqual(bytes, odd);
  assert.equal(
    headers.get('content-disposition'),
    "attachment; filename*=UTF-8''%C3%84%20%22b%22%20%2541%27.KTP",
  );
  assert.equal(headers.get('content-type'), 'application/octet-stream');
  assert.equal(headers.get('cache-control'), 'no-store');
  const answer = await upload(user, bytes, { pool: 'web', name: 'Back.KTP' });
  assert.deepEqual(
    [answer.status, answer.headers.location],
    [303, `/template.html?ParserFilename=${encodeURIComponent(`${webPool}/Back.KTP`)}`],
    answer.reason,
  );
  assert.equal((await user.get('/index.html')).notice, '"Back.KTP" is uploaded.');
  assert.deepEqual(read(platend, 'web/Back.KTP'), odd);
  assert.equal(fs.statSync(path.join(platend.data, 'pool/web/Back.KTP')).mode & 0o777, 0o644);
});

test('what a template held before is downloaded under its name too', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const before = read(platend, 'web/A.KTP');
  const bytes = template({ JobTemplateName: '(string) = up' });
  assert.equal((await upload(admin, bytes, { pool: 'web', name: 'A.KTP', replace: 'yes' })).status, 303);
  const history = path.join(platend.data, 'history');
  const kept = fs.readdirSync(history, { recursive: true, withFileTypes: true }).filter((entry) => entry.isFile());
  const versions = kept.map(({ name }) => String(parseInt(name, 10)));
  const answers = await Promise.all(versions.map((id) => download(admin, `${webPool}/A.KTP`, `&version=${encodeURIComponent(id)}`)));
  const found = answers.filter(({ status, bytes: old }) => status === 200 && old.equals(before));
  assert.equal(found.length, 1, versions.join(' '));
  assert.equal(found[0].headers.get('content-disposition'), "attachment; filename*=UTF-8''A.KTP");
  assert.equal((await download(admin, `${webPool}/A.KTP`, '&version=none')).status, 404);
  assert.equal((await download(admin, `${webPool}/A.KTP`, '&version=..%2Fx')).status, 400);
});

test('an empty template is one too', async (t) => {
  const { platend, admin } = await startWithAdmin(t, { templates: { 'web/Empty.KTP': '' } });
  assert.equal((await download(admin, `${webPool}/Empty.KTP`)).bytes.length, 0);
  assert.equal((await upload(admin, '', { pool: 'web', name: 'New.KTP' })).status, 303);
  assert.equal(stored(platend, 'web/New.KTP'), '');
});

test('only templates of the pools are downloaded, by those who are logged in', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  fs.writeFileSync(path.join(platend.data, 'secret'), 'secret');
  fs.symlinkSync('../../secret', path.join(platend.data, 'pool/web/Link.KTP'));
  fs.mkdirSync(path.join(platend.data, 'pool/web/Directory.KTP'));
  const rows = [
    [`${webPool}/None.KTP`, 404],
    [`${webPool}/Link.KTP`, 404],
    [`${webPool}/Directory.KTP`, 404],
    ['/etc/passwd', 400],
    [`${webPool}/../../../../etc/x.KTP`, 400],
    ['/var/spool/nc/image_store/s2mailbox/x.KTP', 400],
    ['', 400],
  ];
  for (const [file, status] of rows) assert.equal((await admin.get(address(file))).status, status, file);
  assert.equal((await admin.get('/download/template')).status, 400);
  const nobody = await new Visitor(platend).get(address(`${webPool}/A.KTP`));
  assert.equal(nobody.status, 303);
  assert.match(nobody.headers.location, /^\/login\.html\?NextPage=/);
});

test('what is no template is refused with line, column and the name of the uploaded file', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const before = stored(platend, 'web/A.KTP');
  const broken = '[service a]\n  [invocation one]\n    Note (string = x\n';
  const answer = await upload(admin, broken, { pool: 'web', name: 'A.KTP', replace: 'yes' }, 'Ä"q.KTP'.replace('"', '%22'));
  assert.equal(answer.status, 422);
  assert.match(answer.reason, /^The file is no template: Ä"q\.KTP:3:\d+: .+\. Mend it and choose it again\.$/);
  assert.equal(answer.posted.field, 'file');
  assert.deepEqual(answer.posted.fields.map(({ name }) => name).sort(), ['name', 'pool', 'replace']);
  assert.equal((await upload(admin, 'a\0b', { pool: 'web', name: 'Nul.KTP' })).status, 422);
  assert.equal(stored(platend, 'web/A.KTP'), before);
  assert.deepEqual(files(platend, 'web'), ['A.KTP']);
});

test('an upload goes to the pool that it may go to, and replaces only what it is told to', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const bytes = template({ JobTemplateName: '(string) = up' });
  const taken = await upload(user, bytes, { pool: 'web', name: 'A.KTP' });
  assert.deepEqual([taken.status, taken.posted.field], [409, 'replace']);
  assert.equal((await upload(user, bytes, { pool: 'web', name: 'A.KTP', replace: 'yes' })).status, 303);
  assert.equal(stored(platend, 'web/A.KTP'), bytes);
  for (const pool of ['system', 'mailbox']) {
    assert.equal((await upload(user, bytes, { pool, name: 'U.KTP' })).status, 403);
  }
  assert.equal((await upload(admin, bytes, { pool: 'system', name: 'U.KTP' })).status, 303);
  assert.equal(stored(platend, 'system/U.KTP'), bytes);
  const rows = [
    { pool: 'system', name: 'default.ktp', replace: 'yes' },
    { pool: 'factory', name: 'F.KTP', replace: 'yes' },
    { pool: '../factory', name: 'F.KTP', replace: 'yes' },
    { pool: 'web', name: '../factory/F.KTP', replace: 'yes' },
    { pool: 'web', name: 'F.txt' },
    { pool: 'web', name: '.KTP' },
    { pool: 'web' },
    { name: 'F.KTP' },
  ];
  const pools = ['web', 'system', 'factory', 'mailbox'];
  const before = pools.map((pool) => files(platend, pool).map((name) => stored(platend, `${pool}/${name}`)));
  for (const fields of rows) assert.equal((await upload(admin, bytes, fields)).status, 422, JSON.stringify(fields));
  assert.deepEqual(pools.map((pool) => files(platend, pool).map((name) => stored(platend, `${pool}/${name}`))), before);
});

test('a form without a file, and one that is too large, say so', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const fields = { pool: 'web', name: 'New.KTP' };
  const none = await upload(admin, '', fields, '');
  assert.deepEqual([none.status, none.reason], [422, 'Choose a file.']);
  const missing = await upload(admin, null, fields);
  assert.deepEqual([missing.status, missing.reason], [422, 'The field "file" is missing; fill it in.']);
  const text = await admin.post('/index.html', '/do/upload', { ...fields, file: 'text' });
  assert.deepEqual([text.status, text.reason], [422, 'The field "file" is no file; choose one.']);
  const large = await upload(admin, '#'.repeat(limit + 1), fields);
  assert.deepEqual(
    [large.status, large.reason],
    [422, `The field "file" is too long; it has at most ${limit} bytes.`],
  );
  assert.equal((await upload(admin, '#'.repeat(limit + 100000), fields)).status, 413);
  assert.deepEqual(files(platend, 'web'), ['A.KTP']);
  const largest = '#'.repeat(limit - 1) + '\n';
  assert.equal((await upload(admin, largest, fields)).status, 303);
  assert.equal(read(platend, 'web/New.KTP').length, limit);
});

test('a link in the pool is neither followed nor replaced', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const outside = path.join(platend.data, 'outside.KTP');
  fs.writeFileSync(outside, template({ Note: '(string) = outside' }));
  fs.symlinkSync('../../outside.KTP', path.join(platend.data, 'pool/web/Link.KTP'));
  const before = fs.readFileSync(outside, 'utf8');
  const answer = await upload(admin, 'x', { pool: 'web', name: 'Link.KTP', replace: 'yes' });
  assert.equal(answer.status, 422);
  const bytes = template({ Note: '(string) = up' });
  const refused = await upload(admin, bytes, { pool: 'web', name: 'Link.KTP', replace: 'yes' });
  assert.deepEqual(
    [refused.status, refused.reason],
    [500, '"Link.KTP" could not be stored; the pool is as it was. Try again.'],
  );
  assert.equal(fs.readlinkSync(path.join(platend.data, 'pool/web/Link.KTP')), '../../outside.KTP');
  assert.equal(fs.readFileSync(outside, 'utf8'), before);
});
