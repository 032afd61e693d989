// Attacks over HTTP: each is refused with a clear answer, and nothing has changed.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { test } from 'node:test';
import { startPlatend } from './platend.mjs';
import {
  Visitor,
  addUser,
  adminPassword,
  defaultTemplate,
  encode,
  formDevice,
  formPages,
  pageFor,
  read,
  startWithAdmin,
  stored,
  template,
  update,
  webPool,
} from './visitor.mjs';

const file = `${webPool}/A.KTP`;
const editPage = pageFor('edit', file);
const set = '/form/HTTP_Parser_Set_fn';
const copy = '/form/HTTP_Parser_Copy_fn';
const remove = '/form/HTTP_Parser_Delete_fn';
const rename = '/do/rename';
const edit = [['ParserFilename', file], ...update('Note', 'attacked', { was: 'old' })];

/** All files of the pools with their bytes. */
function tree(platend) {
  const pool = path.join(platend.data, 'pool');
  return Object.fromEntries(
    fs.readdirSync(pool, { withFileTypes: true })
      .flatMap(({ name }) => fs.readdirSync(path.join(pool, name)).map((leaf) => `${name}/${leaf}`))
      .sort()
      .map((name) => [name, stored(platend, name)]),
  );
}

/** Runs `attack` and checks that the pools are as before. */
async function unharmed(platend, attack) {
  const before = tree(platend);
  const result = await attack();
  assert.deepEqual(tree(platend), before);
  return result;
}

test('forged origin', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const own = platend.address.replace(/\/$/, '');
  const { token } = await admin.get(editPage);
  const body = encode([['token', token], ...edit]);
  const rows = [
    { origin: 'http://evil.example' },
    { origin: 'null' },
    { origin: own.replace('http:', 'https:') },
    { origin: `${own}.evil.example` },
    { origin: `${own}1` },
    { origin: '', referer: '' },
    { origin: '', referer: 'http://evil.example/' },
    { origin: '', referer: `http://evil.example/?${own}/` },
    { origin: own, referer: 'http://evil.example/' },
    { origin: own, host: 'evil.example' },
  ];
  await unharmed(platend, async () => {
    for (const headers of rows) {
      const answer = await admin.send(set, body, headers);
      assert.equal(answer.status, 403, JSON.stringify(headers));
      assert.match(answer.body, /The form was not sent from a page of this device\./);
      assert.doesNotMatch(answer.body, /attacked/);
    }
  });
  assert.equal((await admin.send(set, body, { origin: '', referer: `${own}/edit.html` })).status, 303);
});

test('missing token', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  await unharmed(platend, async () => {
    for (const fields of [edit, [['token', ''], ...edit], [['token', 'x'.repeat(64)], ...edit]]) {
      const answer = await admin.send(set, encode(fields));
      assert.equal(answer.status, 403);
      assert.match(answer.body, /The form( came without its|'s) token/);
    }
  });
});

test('foreign token', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const { token } = await user.get(editPage);
  const own = (await admin.get('/pool.html')).token;
  const otherPage = own.replace(/:.*/, `:${editPage}`);
  await unharmed(platend, async () => {
    for (const foreign of [token, otherPage, own.replace(/^./, (c) => (c === '0' ? '1' : '0'))]) {
      const answer = await admin.send(set, encode([['token', foreign], ...edit]));
      assert.equal(answer.status, 403);
      assert.match(answer.reason, /^The form was made for another session/);
    }
  });
});

test('token that names a page elsewhere', async (t) => {
  const { admin } = await startWithAdmin(t);
  for (const page of ['//evil.example/', 'https://evil.example/', '/\\evil.example', '/%zz', '/a%00']) {
    const answer = await admin.send('/do/logout', encode([['token', `${'0'.repeat(64)}:${page}`]]));
    assert.equal(answer.status, 403);
    assert.equal(answer.headers.location, undefined);
  }
});

test('session fixation', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const attacker = new Visitor(platend);
  await attacker.get('/login.html');
  const planted = attacker.cookies.get('platen_session');
  await admin.post('/index.html', '/do/logout');
  admin.cookies.set('platen_session', planted);
  assert.equal((await admin.logIn('admin', adminPassword)).status, 303);
  assert.notEqual(admin.cookies.get('platen_session'), planted);
  assert.equal((await admin.get('/index.html')).login.name, 'admin');
  assert.equal((await attacker.get('/index.html')).login, null);
  assert.equal((await attacker.get(editPage)).status, 303);
});

test('the cookie is out of reach of scripts and other sites', async (t) => {
  const platend = await startPlatend(t, { pages: formPages, data: formDevice(t) });
  const answer = await new Visitor(platend).get('/login.html');
  assert.match(
    answer.headers['set-cookie'][0],
    /^platen_session=[\w-]{43}; Path=\/; HttpOnly; SameSite=Strict$/,
  );
});

test('a form that needs a login, sent by nobody', async (t) => {
  const { platend } = await startWithAdmin(t);
  const nobody = new Visitor(platend);
  await unharmed(platend, async () => {
    for (const form of [set, copy, remove, rename, '/do/password', '/do/account']) {
      const answer = await nobody.post('/index.html', form, edit);
      assert.equal(answer.status, 403, form);
      assert.match(answer.reason, /^You are not logged in. Log in; /);
    }
  });
});

test('a posted loginName, sid or role', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const fields = [['ParserFilename', defaultTemplate], ...update('Note', 'attacked', { was: 'old' })];
  await unharmed(platend, async () => {
    for (const name of ['loginName', 'userIsAdmin', 'sid', 'role']) {
      const answer = await user.post('/index.html', set, [...fields, [name, 'admin']]);
      assert.equal(answer.status, 422);
      assert.equal(answer.reason, `The field "${name}" is not known to this form; leave it out.`);
      assert.equal(answer.posted.field, name);
    }
  });
});

const badPaths = [
  '',
  '/',
  '/etc/passwd',
  '/etc/A.KTP',
  '/tmp/template/pool',
  '/tmp/template/poolside/A.KTP',
  '/tmp/template/pool/../../../etc/A.KTP',
  `${webPool}/../web/A.KTP`,
  `${webPool}/./A.KTP`,
  `${webPool}//A.KTP`,
  `/${webPool}/A.KTP`,
  `${webPool}/A.KTP/`,
  `${webPool}/A.KTP|O_RDWR`,
  `|${webPool}/A.KTP`,
  `${webPool}/A.KTP\n`,
  `${webPool}/.A.KTP`,
  `${webPool}/A.txt`,
  '/var/spool/nc/image_store/s2mailbox/anna/job.KTP',
];
const badNames = [
  '',
  '.KTP',
  '..',
  '../system/default.ktp',
  '/tmp/template/pool/system/default.ktp',
  'sub/B.KTP',
  'B..KTP',
  'A.KTP|B.KTP',
  'B.KTP|',
  'B.KTP\t',
  'B.txt',
  '.hidden.KTP',
];

test('path traversal and "|" in every path', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const forms = [
    [set, 'ParserFilename', []],
    [set, 'DefaultParserFilename', []],
    [copy, 'ParserFilename', [['CopyParserFilename', 'B.KTP']]],
    [copy, 'DefaultParserFilename', [['CopyParserFilename', 'B.KTP']]],
    [remove, 'ParserFilename', []],
    [rename, 'ParserFilename', [['NewName', 'B.KTP']]],
  ];
  await unharmed(platend, async () => {
    for (const [form, field, others] of forms) {
      for (const bad of badPaths) {
        const answer = await admin.post('/index.html', form, [[field, bad], ...others]);
        assert.equal(answer.status, 422, `${form} ${field} ${bad}`);
        assert.equal(answer.posted.field, field);
      }
    }
  });
});

test('path traversal and "|" in every name of a copy', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const forms = [
    [set, 'CopyParserFilename'],
    [set, 'CopyParserFilenameMailbox'],
    [copy, 'CopyParserFilename'],
    [copy, 'CopyParserFilenameMailbox'],
    [rename, 'NewName'],
  ];
  await unharmed(platend, async () => {
    for (const [form, field] of forms) {
      for (const bad of badNames) {
        const answer = await admin.post('/index.html', form, [['ParserFilename', file], [field, bad]]);
        assert.equal(answer.status, 422, `${form} ${field} ${bad}`);
        assert.equal(answer.posted.field, field);
      }
    }
  });
});

test('doubled slashes to reach the default template', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const spellings = ['//tmp/template/pool/system/default.ktp', '/tmp/template/pool//system/default.ktp',
    '/tmp/template/pool/system//default.ktp', '/tmp/template/pool/system/./default.ktp',
    '/tmp/template/pool/web/../system/default.ktp', '/tmp/template/pool/system/default.ktp/'];
  await unharmed(platend, async () => {
    for (const name of spellings) {
      for (const form of [set, remove, rename]) {
        const more = form === rename ? [['NewName', 'B.KTP']] : [];
        const answer = await user.post('/index.html', form, [['ParserFilename', name], ...more]);
        assert.equal(answer.status, 422);
        assert.match(answer.reason, /is not in its shortest form/);
      }
    }
  });
});

test('a mailbox job log read through a template page\'s query', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const spool = 'image_store/s2mailbox/anna';
  fs.mkdirSync(path.join(platend.data, 'spool', spool), { recursive: true });
  fs.writeFileSync(path.join(platend.data, 'spool', spool, 'job.KTP'), template({ Secret: '(string) = hidden' }));
  for (const name of [`/var/spool/nc/${spool}/job.KTP`, `/tmp/template/pool/../../../var/spool/nc/${spool}/job.KTP`]) {
    const answer = await admin.get(pageFor('edit', name));
    assert.equal(answer.status, 400);
    assert.match(answer.body, /The field "ParserFilename" is not (below a template pool|in its shortest form)/);
    assert.doesNotMatch(answer.body, /hidden/);
  }
  const listing = await admin.get(`/pool.html?TemplateDir=/var/spool/nc/${spool}`);
  assert.equal(listing.status, 400);
});

test('a page\'s query that reaches a form\'s fields', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const { token } = await admin.get(editPage);
  await unharmed(platend, async () => {
    const answer = await admin.send(`${set}?ParserFilename=${defaultTemplate}`, encode([['token', token], ...edit]));
    assert.equal(answer.status, 400);
    assert.equal((await admin.get(`${editPage}&CopyParserFilename=B.KTP`)).status, 400);
    assert.equal((await admin.get(`${editPage}&ParserFilename=${file}`)).status, 400);
  });
});

test('a field given twice', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const rows = [
    [set, 'ParserFilename', [['ParserFilename', file], ['ParserFilename', file]]],
    [set, 'DefaultParserFilename', [['ParserFilename', file], ['DefaultParserFilename', defaultTemplate]]],
    [set, 'CopyParserFilename', [['ParserFilename', file], ['CopyParserFilename', 'B.KTP'], ['CopyParserFilename', 'C.KTP']]],
    [set, 'CopyParserFilenameMailbox', [['ParserFilename', file], ['CopyParserFilename', 'B.KTP'], ['CopyParserFilenameMailbox', 'C.KTP']]],
    [set, 'AttributeValue', [['ParserFilename', file], ['AttributeValue', 'x'], ...update('Note', 'y')]],
    [copy, 'CopyParserFilename', [['ParserFilename', file], ['CopyParserFilename', 'B.KTP'], ['CopyParserFilename', 'C.KTP']]],
    [remove, 'ParserFilename', [['ParserFilename', file], ['ParserFilename', `${webPool}/B.KTP`]]],
    [remove, 'token', [['token', 'x'], ['ParserFilename', file]]],
  ];
  await unharmed(platend, async () => {
    for (const [form, field, fields] of rows) {
      const answer = await admin.post('/index.html', form, fields);
      assert.equal(answer.status, 422, form);
      assert.equal(answer.posted.field, field);
    }
  });
});

test('an edit that is not closed', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const answer = await unharmed(platend, () => admin.post(editPage, set, edit.slice(0, -1)));
  assert.equal(answer.status, 422);
  assert.match(answer.reason, /stands in an edit that no field "Action" closes; add it\.$/);
});

test('a value that tries to end its tag, its script string or its attribute', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const values = [
    '"><script>alert(1)</script>',
    "'; alert(1); //",
    '</script><script>alert(1)</script>',
    '--><!--#reason-->',
    '<!--#parser fn="HTTP_Open_Parser_fn" arg="/etc/passwd"-->',
    '\u2028\\"`${1}',
  ];
  for (const value of values) {
    const refused = await admin.post(editPage, set, [...edit, ['AttributeValue', value]]);
    assert.equal(refused.status, 422);
    assert.equal(refused.posted.fields.at(-1).value, value);
    const bare = refused.body.replaceAll(/<script type="application\/json"[^]*?<\/script>/g, '');
    assert.doesNotMatch(bare, /<script/);
    const named = await admin.post(editPage, set, [...edit, [value, 'x']]);
    assert.equal(named.reason, `The field "${value}" is not known to this form; leave it out.`);
    assert.doesNotMatch(named.body.match(/<p id="reason">[^]*?<\/p>/)[0].slice(15, -4), /[<>"]/);
  }
  const before = await admin.get(editPage);
  const note = before.template.services[0].invocations[0].attributes.find(({ name }) => name === 'Note');
  const run = update('Note', values[0], { was: note.values[0] });
  assert.equal((await admin.post(editPage, set, [['ParserFilename', file], ...run])).status, 303);
  const after = await admin.get(editPage);
  const now = after.template.services[0].invocations[0].attributes.find(({ name }) => name === 'Note');
  assert.deepEqual(now.values, [values[0]]);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = "><script>alert\(1\)<\/script>\n/);
});

test('over-long everything', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const name = (length) => 'x'.repeat(length - 4) + '.KTP';
  const rows = [
    [set, 'ParserFilename', `${webPool}/${name(255 - webPool.length)}`, 254],
    [copy, 'CopyParserFilename', name(227), 226],
    [copy, 'CopyParserFilenameMailbox', name(222), 221],
    [rename, 'NewName', name(222), 221],
    [set, 'ServiceName', 'x'.repeat(256), 255],
    [set, 'AttributeValue', 'x'.repeat(256 * 1024 + 1), 256 * 1024],
    [set, 'NextPage', '/'.repeat(2049), 2048],
    ['/do/login', 'password', 'x'.repeat(129), 128],
    ['/do/password', 'new', 'x'.repeat(129), 128],
  ];
  await unharmed(platend, async () => {
    for (const [form, field, value, limit] of rows) {
      const answer = await admin.post('/index.html', form, [[field, value]]);
      assert.equal(answer.status, 422, field);
      assert.equal(answer.reason, `The field "${field}" is too long; it has at most ${limit} bytes.`);
    }
    const longName = await admin.post('/index.html', set, [['n'.repeat(256), 'x']]);
    assert.ok([400, 413].includes(longName.status), String(longName.status));
    const tooMuch = await admin.post('/index.html', set, [['AttributeValue', 'x'.repeat(5 * 1024 * 1024)]]);
    assert.equal(tooMuch.status, 413);
  });
});

test('a NUL byte', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const { token } = await admin.get(editPage);
  await unharmed(platend, async () => {
    for (const field of ['ParserFilename', 'CopyParserFilename', 'AttributeValue']) {
      const answer = await admin.send(set, `${encode([['token', token]])}&${field}=${encodeURIComponent(file)}%00.KTP`);
      assert.equal(answer.status, 400);
      assert.match(answer.body, /NUL/);
    }
    const raw = await admin.send(set, `${encode([['token', token], ...edit])}\0`);
    assert.equal(raw.status, 400);
  });
});

test('10,000 fields', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const fields = Array.from({ length: 10000 }, (_, i) => [`f${i}`, 'x']);
  const answer = await unharmed(platend, () => admin.post(editPage, set, fields));
  assert.ok([400, 413].includes(answer.status), String(answer.status));
  assert.match(answer.body, /fields/);
});

test('a body cut short', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const { token } = await admin.get(editPage);
  const { hostname, port } = new URL(platend.address);
  const body = encode([['token', token], ...edit]);
  await unharmed(platend, async () => {
    const socket = net.connect(Number(port), hostname);
    socket.end(
      `POST ${set} HTTP/1.1\r\nHost: ${hostname}:${port}\r\nOrigin: http://${hostname}:${port}\r\n` +
        `Cookie: platen_session=${admin.cookies.get('platen_session')}\r\n` +
        'Content-Type: application/x-www-form-urlencoded\r\n' +
        `Content-Length: ${body.length + 1}\r\n\r\n${body}`,
    );
    let answer = '';
    for await (const piece of socket) answer += piece;
    assert.doesNotMatch(answer, /^HTTP\/1.1 303/);
    const multipart = await admin.send(set, `--b\r\nContent-Disposition: form-data; name="token"\r\n\r\n${token}`, {
      'content-type': 'multipart/form-data; boundary=b',
    });
    assert.equal(multipart.status, 400);
  });
});

test('a body that is no form', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  await unharmed(platend, async () => {
    for (const type of ['text/plain', 'application/json', '', 'multipart/form-data']) {
      const answer = await admin.send(set, encode(edit), { 'content-type': type });
      assert.ok([400, 415].includes(answer.status), `${type}: ${answer.status}`);
    }
  });
});

test('a file where a text belongs', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const { token } = await admin.get(editPage);
  const part = (name, text, more = '') => `--b\r\nContent-Disposition: form-data; name="${name}"${more}\r\n\r\n${text}\r\n`;
  const body = `${part('token', token)}${part('ParserFilename', file, '; filename="A.KTP"')}--b--\r\n`;
  const type = { 'content-type': 'multipart/form-data; boundary=b' };
  const answer = await unharmed(platend, () => admin.send(set, body, type));
  assert.equal(answer.status, 422);
  assert.equal(answer.reason, 'The field "ParserFilename" is a file; this form takes none.');
});

test('forms by other methods, and unknown forms', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  await unharmed(platend, async () => {
    for (const method of ['GET', 'HEAD', 'PUT', 'DELETE']) {
      const answer = await admin.ask(set, { method });
      assert.equal(answer.status, 405, method);
      assert.equal(answer.headers.allow, 'POST');
    }
    const page = await admin.send('/edit.html', encode(edit));
    assert.equal(page.status, 405);
    assert.equal(page.headers.allow, 'GET, HEAD');
    for (const form of ['/form/HTTP_Open_Parser_fn', '/form/HTTP_Parser_Init', '/form/', '/do/', '/do/nothing', `${set}/`]) {
      assert.equal((await admin.send(form, encode(edit))).status, 404, form);
    }
  });
});

test('a mailbox folder that is not open', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const setPin = '/form/HTTP_Parser_Mbox_Set_Pass_SA_fn';
  await admin.post('/index.html', setPin, { saUser: 'M', saPasswd: '2468', repeat: '2468' });
  const job = { name: 'M', file: 'scan.pdf', action: 'del' };
  const answer = await new Visitor(platend).post('/index.html', '/do/job', job);
  assert.deepEqual([answer.status, answer.headers.location], [303, '/mailbox/pin.php?name=M']);
  await platend.stop();
  const state = path.join(platend.data, 'state');
  const files = fs.readdirSync(state).map((name) => fs.readFileSync(path.join(state, name), 'latin1'));
  assert.ok(files.some((bytes) => bytes.includes('jobMrefused: the folder is not open')));
});

test('what is refused is shown to nobody else', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const refused = await admin.post(editPage, set, [...edit, ['x', 'private']]);
  assert.equal(refused.headers['cache-control'], 'no-store');
  assert.equal(read(await new Visitor(platend).get('/index.html')).posted, null);
  const password = await admin.post('/password.html', '/do/password', { old: 'secret one', new: 'secret two', repeat: 'secret 3' });
  assert.equal(password.status, 422);
  assert.doesNotMatch(password.body, /secret/);
  assert.doesNotMatch(platend.log, /secret|private/);
});
