// Forms over HTTP, through the web server, the module and the store, down to the files.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { program, run, startPlatend } from './platend.mjs';
import {
  Visitor,
  addUser,
  adminPassword,
  defaultTemplate,
  formDevice,
  formPages,
  pageFor,
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
const stamp = '    KLVDefinitionUsed (enum_KLV) = 13\n';

const edits = (...runs) => [['ParserFilename', file], ...runs.flat()];

function assertDone(answer, location) {
  assert.equal(answer.status, 303, answer.reason ?? answer.body);
  assert.equal(answer.headers.location, location);
}

function assertRefused(answer, status, reason) {
  assert.equal(answer.status, status);
  assert.equal(answer.reason, reason);
}

test('the first login is printed once and leads to a password of its own', async (t) => {
  const data = formDevice(t);
  const platend = await startPlatend(t, { pages: formPages, data });
  assert.match(platend.output, /^Platen serves \S+\nFirst login: admin \/ \S+ \(to be changed\)\n$/);
  const admin = new Visitor(platend);
  assertDone(await admin.logIn('admin', platend.firstPassword), '/password.html');
  assertDone(await admin.get('/index.html'), '/password.html');
  const page = await admin.get('/password.html');
  assert.equal(page.notice, 'Choose a password of your own first.');
  assertRefused(await admin.post('/password.html', copy), 403, 'Choose a password of your own first.');
  assert.deepEqual(page.login, { name: 'admin', role: 'administrator', mustChange: true });
  const next = { new: adminPassword, repeat: adminPassword };
  const wrong = await admin.post('/password.html', '/do/password', { old: 'x', ...next });
  assertRefused(wrong, 422, 'The old password is not right; type it again.');
  assert.deepEqual(wrong.posted.fields, []);
  const old = platend.firstPassword;
  assertDone(await admin.post('/password.html', '/do/password', { old, ...next }), '/index.html');
  const start = await admin.get('/index.html');
  assert.equal(start.notice, 'Your password is changed.');
  assert.equal(start.login.mustChange, false);
  assert.equal((await admin.get('/index.html')).notice, '');
  await platend.stop();
  const again = await startPlatend(t, { pages: formPages, data });
  assert.equal(again.output, `Platen serves ${again.address}\n`);
});

test('pages that need a role lead to the login and back', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const nobody = new Visitor(platend);
  const answer = await nobody.get(editPage);
  assertDone(answer, `/login.html?NextPage=${encodeURIComponent(editPage)}`);
  const { token } = await nobody.get(answer.headers.location);
  const body = new URLSearchParams({ token, name: 'admin', password: adminPassword });
  assertDone(await nobody.send('/do/login', body.toString()), editPage);
  assert.equal((await nobody.get(editPage)).title, 'edit');
  const user = await addUser(platend, admin);
  assert.equal((await user.get('/accounts.html')).status, 403);
  assert.equal((await user.get('/index.html')).accounts, null);
  assert.equal((await new Visitor(platend).get('/index.html')).login, null);
});

test('an edit is saved, and the next page says so once', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const answer = await admin.post(editPage, set, edits(update('Note', 'new, "quoted"', { was: 'old' })));
  assertDone(answer, editPage);
  const page = await admin.get(editPage);
  assert.equal(page.notice, 'Saved.');
  assert.equal(page.posted, null);
  assert.equal(
    stored(platend, 'web/A.KTP'),
    template({ JobTemplateName: '(string, compulsory) = A', Note: '(string) = new, "quoted"' }) + stamp,
  );
});

const addition = (entry, attribute, value) => [
  ['ServiceName', 'qvn_svc_file'],
  ['NewInvocation', entry],
  ['AttributeName', attribute],
  ['AttributeValue', value],
  ['Action', 'update'],
];

test('new entries take all their fields, also those of posts at the same time', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const numbers = Array.from({ length: 8 }, (_, number) => String(number));
  const posts = numbers.map((n) => {
    const runs = [addition('x', 'One', n), addition('y', 'One', `y${n}`)];
    runs.push(addition('x', 'Two', n), addition('y', 'Two', `y${n}`));
    return admin.post(editPage, set, edits(...runs));
  });
  for (const answer of await Promise.all(posts)) assertDone(answer, editPage);
  const text = stored(platend, 'web/A.KTP');
  const entries = text.matchAll(/\[invocation qvn_svc_file_\d+\]\n +One .* = (.*)\n +Two .* = (.*)\n/g);
  assert.deepEqual(
    [...entries].map(([, one, two]) => [one, two]).sort(),
    [...numbers, ...numbers.map((n) => `y${n}`)].sort().map((n) => [n, n]),
  );
});

test('a new entry beside one that the form does not tell from it is refused', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const before = stored(platend, 'web/A.KTP');
  const runs = [addition('x', 'One', '1'), addition('', 'One', '1')];
  assertRefused(
    await admin.post(editPage, set, edits(...runs)),
    422,
    'Change 2 of the form makes an entry of its own beside those that "NewInvocation" names; open ' +
      "the form's page again and send it from there.",
  );
  assert.equal(stored(platend, 'web/A.KTP'), before);
});

test('a form may say where it leads, but only on this device', async (t) => {
  const { admin } = await startWithAdmin(t);
  const rows = [
    ['/pool.html?TemplateDir=%2Ftmp', '/pool.html?TemplateDir=%2Ftmp'],
    ['/a b\u00e4', '/a%20b%C3%A4'],
    ['//example.com/', editPage],
    ['https://example.com/', editPage],
    ['/\\example.com', editPage],
    ['', editPage],
  ];
  for (const [wanted, location] of rows) {
    assertDone(await admin.post(editPage, set, [...edits(), ['NextPage', wanted]]), location);
  }
});

const restore = '/form/HTTP_Parser_Restore_Defaults_fn';
const restored = (name) => template({ JobTemplateName: `(string, compulsory) = ${name}`, Note: '(string) = old' });

test('a factory template is restored to the system pool under its name or another', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const factory = stored(platend, 'factory/F.KTP');
  for (const name of ['F.KTP', 'Ä "new".ktp']) {
    const fields = { ParserFilename: 'F.KTP', CopyParserFilename: name };
    assertDone(await admin.post('/index.html', restore, fields), '/index.html');
    assert.equal((await admin.get('/index.html')).notice, `"${name}" is restored from the factory pool.`);
    assert.equal(stored(platend, `system/${name}`), restored(Buffer.from(name).toString('latin1')));
  }
  assert.equal(stored(platend, 'factory/F.KTP'), factory);
});

test('what is there is restored only where the form says so, and the default template never', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const before = stored(platend, 'system/S.KTP');
  const fields = { ParserFilename: 'F.KTP', CopyParserFilename: 'S.KTP' };
  const refused = await admin.post('/index.html', restore, fields);
  const question = 'There is a template "S.KTP" already. Choose another name, or say that it is to be replaced.';
  assertRefused(refused, 409, question);
  assert.equal(refused.posted.field, 'replace');
  assert.equal(stored(platend, 'system/S.KTP'), before);
  const replaced = await admin.post('/index.html', restore, { ...fields, replace: 'yes' });
  assertDone(replaced, '/index.html');
  assert.equal(stored(platend, 'system/S.KTP'), restored('S.KTP'));
  const standard = stored(platend, 'system/default.ktp');
  const never = { ParserFilename: 'F.KTP', CopyParserFilename: 'default.ktp', replace: 'yes' };
  assert.equal((await admin.post('/index.html', restore, never)).status, 422);
  assert.equal(stored(platend, 'system/default.ktp'), standard);
});

test('a restore that fails changes nothing and says why', async (t) => {
  const { platend, admin } = await startWithAdmin(t, { templates: { 'factory/Broken.KTP': '[service x]\nwrong\n' } });
  for (const field of ['CopyParserFilename', 'CopyParserFilenameMailbox']) {
    const missing = await admin.post('/index.html', restore, { ParserFilename: 'No.KTP', [field]: 'S.KTP', replace: 'yes' });
    assertRefused(missing, 422, 'There is no factory template "No.KTP". Choose another.');
    const broken = await admin.post('/index.html', restore, { ParserFilename: 'Broken.KTP', [field]: 'S.KTP', replace: 'yes' });
    assert.equal(broken.status, 422);
    assert.match(broken.reason, /^Couldn't Copy Template from: .*\n\/tmp\/template\/pool\/factory\/Broken\.KTP:2:1: /);
  }
  const user = await addUser(platend, admin);
  const asked = await user.post('/index.html', restore, { ParserFilename: 'F.KTP', CopyParserFilename: 'N.KTP' });
  assertRefused(asked, 403, 'Only an administrator may do this. Log in as one.');
  assert.equal(stored(platend, 'system/S.KTP'), stored(platend, 'web/A.KTP'));
  assert.deepEqual(fs.readdirSync(path.join(platend.data, 'pool/system')).sort(), ['S.KTP', 'default.ktp']);
  assert.deepEqual(fs.readdirSync(path.join(platend.data, 'pool/mailbox')), ['M.KTP']);
});

test('an edit can be saved as a copy, whose source stays', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const before = stored(platend, 'system/default.ktp');
  const fields = [
    ['DefaultParserFilename', defaultTemplate],
    ['CopyParserFilename', 'New one.ktp'],
    ...update('Note', 'mine', { was: 'old' }),
  ];
  assert.equal((await admin.post(editPage, set, fields)).status, 303);
  assert.equal((await admin.get('/index.html')).notice, 'Saved as "New one.ktp".');
  assert.equal(stored(platend, 'system/default.ktp'), before);
  assert.match(stored(platend, 'web/New one.ktp'), /= New one.ktp\n    Note \(string\) = mine\n/);
});

test('an edit of an attribute that changed meanwhile is a conflict; posted again it wins', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const theirs = update('Note', 'theirs', { was: 'old' });
  const mine = update('Note', 'mine', { was: 'old' });
  const { token } = await user.get(editPage);
  await admin.post(editPage, set, edits(theirs));
  const refused = await user.send(set, new URLSearchParams([['token', token], ...edits(mine)]).toString());
  assertRefused(
    refused,
    409,
    'Somebody else has changed the same settings meanwhile. Look at what is stored now, and save again to keep yours.',
  );
  assert.deepEqual(refused.posted.conflicts, [
    {
      run: 0,
      service: 'qvn_svc_general',
      invocation: 'one',
      attribute: 'Note',
      was: { value: 'old', type: 'string', compulsory: false },
      stored: { value: 'theirs', type: 'string', compulsory: false },
      wanted: { value: 'mine', type: 'string', compulsory: false },
    },
  ]);
  const again = refused.posted.fields.map(({ name, value }) => [name, value]);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = theirs\n/);
  assert.equal((await user.post(editPage, set, again)).status, 303);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = mine\n/);
});

test('an attribute that was added by somebody else meanwhile is a conflict that can be won', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  await admin.post(editPage, set, edits(update('Added', 'theirs')));
  const refused = await admin.post(editPage, set, edits(update('Added', 'mine')));
  assert.equal(refused.status, 409);
  assert.equal(refused.posted.conflicts[0].was, null);
  const again = refused.posted.fields.map(({ name, value }) => [name, value]);
  assert.equal((await admin.post(editPage, set, again)).status, 303);
  assert.match(stored(platend, 'web/A.KTP'), /Added \(string\) = mine\n/);
});

test('two people who edit different attributes both keep their edits', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const [first, second] = await Promise.all([admin.get(editPage), user.get(editPage)]);
  const send = (visitor, { token }, run) =>
    visitor.send(set, new URLSearchParams([['token', token], ...edits(run)]).toString());
  const answers = await Promise.all([
    send(admin, first, update('Note', 'of admin', { was: 'old' })),
    send(user, second, update('Other', 'of anna')),
  ]);
  assert.deepEqual(answers.map(({ status }) => status), [303, 303]);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = of admin\n/);
  assert.match(stored(platend, 'web/A.KTP'), /Other \(string\) = of anna\n/);
});

test('an out-of-date page is told from one that only shows a value differently', async (t) => {
  const odd = template({
    Lines: '(string) = a\\r\\nb',
    Bytes: '(string) = \\xFFx',
    List: '(enum_x)\n      = p\n      = q',
    PhoneNumber: '(string)\n      = 1,2\n      = 3',
    Marked: '(string, compulsory) = m',
  });
  const { platend, admin } = await startWithAdmin(t, { templates: { 'web/A.KTP': odd } });
  const rows = [
    // What is stored, as a page shows it, and what becomes of the file.
    [update('Lines', 'a\r\nc', { was: 'a\nb' }), 303, /Lines \(string\) = a\\r\\nc\n/],
    [update('Lines', 'd', { was: 'a\nb' }), 409, /Lines \(string\) = a\\r\\nc\n/],
    [update('Bytes', '\ufffdx', { was: '\ufffdx' }), 303, /Bytes \(string\) = (\\xFF|\xff)x\n/],
    [update('Bytes', 'y', { was: '\ufffdx' }), 303, /Bytes \(string\) = y\n/],
    [update('List', 'q,p', { was: 'p,q', type: 'enum_x' }), 303, /List \(enum_x\)\n +(= q\n += p)\n/],
    [update('List', 'r', { was: 'p,q', type: 'enum_x' }), 409, /= q\n +(= p)\n/],
    [update('PhoneNumber', '1,2;4', { was: '1,2;3' }), 303, /= 1,2\n +(= 4)\n/],
    [update('Marked', 'n', { was: 'm' }), 409, /Marked \(string, compulsory\) = m\n/],
    [update('Marked', 'n', { was: 'm', compulsory: true }), 303, /Marked \(string, compulsory\) = n\n/],
  ];
  for (const [fields, status, pattern] of rows) {
    const answer = await admin.post(editPage, set, edits(fields));
    assert.equal(answer.status, status, `${JSON.stringify(fields)} ${answer.reason}`);
    assert.match(stored(platend, 'web/A.KTP'), pattern);
  }
  const unreadable = [['was', '{'], ...update('Note', 'x')];
  const broken = await admin.post(editPage, set, edits(unreadable));
  assert.equal(broken.status, 422);
  assert.match(broken.reason, /does not say in its field "was" what was shown/);
});

test('a write that the store refuses is told with its cause, and what was typed is kept', async (t) => {
  const { admin } = await startWithAdmin(t);
  const answer = await admin.post(editPage, set, edits(update('Note', 'x', { invocation: 'gone' })));
  assertRefused(
    answer,
    500,
    `Not everything was saved.\n${file}: write qvn_svc_general/gone/Note: the service has no such invocation`,
  );
  assert.deepEqual(answer.posted.fields.find(({ name }) => name === 'AttributeValue'), {
    name: 'AttributeValue',
    value: 'x',
  });
});

test('a run without a service is refused in the words of the handler', async (t) => {
  const { admin } = await startWithAdmin(t);
  const answer = await admin.post(editPage, set, edits([['AttributeName', 'x'], ['Action', 'update']]));
  assertRefused(answer, 422, 'Service name not found');
});

test('a template that is gone or broken is refused before it is edited', async (t) => {
  const { platend, admin } = await startWithAdmin(t, { templates: { 'web/Broken.KTP': 'no template\n' } });
  const [gone, broken] = [`${webPool}/Gone.KTP`, `${webPool}/Broken.KTP`];
  const run = update('Note', 'x');
  const fields = (name) => [['ParserFilename', name], ...run];
  const first = await admin.post('/index.html', set, fields(gone));
  assertRefused(first, 422, `The template "Gone.KTP" cannot be opened. ${gone}: it cannot be opened: No such file or directory`);
  const second = await admin.post('/index.html', set, fields(broken));
  assert.match(second.reason, /^The template "Broken.KTP" cannot be opened. \S+Broken.KTP:1:1: /);
  assert.equal(stored(platend, 'web/Broken.KTP'), 'no template\n');
});

test('a copy gets its name, and replaces a template only when told to', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const from = pageFor('copy', file);
  const fields = { ParserFilename: file, CopyParserFilename: 'B.KTP' };
  assertDone(await admin.post(from, copy, fields), from);
  assert.equal((await admin.get('/index.html')).notice, 'Copied to "B.KTP".');
  assert.match(stored(platend, 'web/B.KTP'), /JobTemplateName \(string, compulsory\) = B.KTP\n/);
  fs.writeFileSync(path.join(platend.data, 'pool/web/B.KTP'), '# another\n');
  const refused = await admin.post(from, copy, fields);
  assertRefused(
    refused,
    409,
    'There is a template "B.KTP" already. Choose another name, or say that it is to be replaced.',
  );
  assert.equal(refused.posted.field, 'replace');
  assert.equal(stored(platend, 'web/B.KTP'), '# another\n');
  assert.equal((await admin.post(from, copy, { ...fields, replace: 'yes' })).status, 303);
  assert.match(stored(platend, 'web/B.KTP'), /= B.KTP\n/);
  const mailbox = { ParserFilename: file, CopyParserFilenameMailbox: 'N.KTP' };
  assert.equal((await admin.post(from, copy, mailbox)).status, 303);
  assert.match(stored(platend, 'mailbox/N.KTP'), /= N.KTP\n/);
});

test('of several copies to one new name at once exactly one is made', async (t) => {
  const { admin } = await startWithAdmin(t, { args: ['--workers', '4'] });
  const { token } = await admin.get(pageFor('copy', file));
  const body = new URLSearchParams({ token, ParserFilename: file, CopyParserFilename: 'One.KTP' });
  const answers = await Promise.all(Array.from({ length: 8 }, () => admin.send(copy, body.toString())));
  const statuses = answers.map(({ status }) => status).sort();
  assert.deepEqual(statuses, [303, ...Array(7).fill(409)]);
});

test('a copy that fails says why in words', async (t) => {
  const { admin } = await startWithAdmin(t);
  const gone = `${webPool}/Gone.KTP`;
  const answer = await admin.post('/index.html', copy, { ParserFilename: gone, CopyParserFilename: 'C.KTP' });
  assertRefused(
    answer,
    422,
    `Couldn't Copy Template from: ${gone} to ${webPool}/C.KTP.\n` +
      `${gone}: it cannot be opened: No such file or directory`,
  );
});

test('a template is deleted, and a second time is told', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const fields = { ParserFilename: file, NextPage: '/pool.html' };
  assertDone(await admin.post(pageFor('delete', file), remove, fields), '/pool.html');
  assert.equal((await admin.get('/pool.html')).notice, '"A.KTP" is deleted.');
  assert.equal(stored(platend, 'web/A.KTP'), null);
  assertRefused(
    await admin.post('/index.html', remove, fields),
    422,
    'This could not be done; the file may be gone or protected. Load the page again.',
  );
});

test('a rename moves a template of the web pool; a refused or failed one leaves it', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const rename = (name, NewName, more) =>
    admin.post('/rename.html', '/do/rename', { ParserFilename: name, NewName, ...more });
  assert.equal((await rename(file, 'B.KTP')).status, 303);
  assert.equal((await admin.get('/index.html')).notice, '"A.KTP" is now called "B.KTP".');
  assert.equal(stored(platend, 'web/A.KTP'), null);
  assert.match(stored(platend, 'web/B.KTP'), /= B.KTP\n/);
  const folder = stored(platend, 'mailbox/M.KTP');
  assert.equal((await rename('/tmp/template/pool/mailbox/M.KTP', 'N.KTP')).status, 422);
  assert.equal(stored(platend, 'mailbox/M.KTP'), folder);
  fs.writeFileSync(path.join(platend.data, 'pool/web/C.KTP'), 'broken\n');
  assertRefused(
    await rename(`${webPool}/C.KTP`, 'D.KTP'),
    422,
    `Couldn't Copy Template from: ${webPool}/C.KTP to ${webPool}/D.KTP.\n` +
      `${webPool}/C.KTP:1:1: an attribute needs an invocation above it`,
  );
  assert.equal(stored(platend, 'web/C.KTP'), 'broken\n');
  assert.equal((await rename(`${webPool}/B.KTP`, 'C.KTP')).status, 409);
  assert.equal((await rename(`${webPool}/B.KTP`, 'C.KTP', { replace: 'yes' })).status, 303);
  assert.equal(stored(platend, 'web/B.KTP'), null);
});

test('the pools have their protection', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const pool = '/tmp/template/pool';
  const systemOnly = ' is for everybody: only an administrator may change it.';
  const asShipped = ' is as shipped and never changes; copy it and change the copy.';
  const stays = '"default.ktp" is the default template: it stays where it is.';
  const rows = [
    [user, set, `${pool}/system/S.KTP`, 403, `"S.KTP"${systemOnly}`],
    [user, remove, `${pool}/system/S.KTP`, 403, `"S.KTP"${systemOnly}`],
    [user, set, defaultTemplate, 403, `"default.ktp"${systemOnly}`],
    [user, remove, defaultTemplate, 422, stays],
    [admin, remove, defaultTemplate, 422, stays],
    [admin, set, `${pool}/factory/F.KTP`, 422, `"F.KTP"${asShipped}`],
    [admin, remove, `${pool}/factory/F.KTP`, 422, `"F.KTP"${asShipped}`],
  ];
  for (const [visitor, form, name, status, reason] of rows) {
    assertRefused(await visitor.post('/index.html', form, { ParserFilename: name }), status, reason);
  }
  assert.equal((await admin.post('/index.html', set, { ParserFilename: defaultTemplate })).status, 303);
  assert.equal((await admin.post('/index.html', remove, { ParserFilename: `${pool}/system/S.KTP` })).status, 303);
  const factory = { ParserFilename: `${pool}/factory/F.KTP`, CopyParserFilename: 'F.KTP' };
  assert.equal((await user.post('/index.html', copy, factory)).status, 303);
});

test('what was typed when a session had ended is shown again after the login, and not sent', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const { token } = await user.get(editPage);
  await admin.post('/accounts.html', '/do/account', { what: 'reset', name: 'anna' });
  const password = (await admin.get('/accounts.html')).notice.match(/password is (\S+)/)[1];
  const before = stored(platend, 'web/A.KTP');
  const fields = edits(update('Note', 'typed long ago', { was: 'old' }));
  const ended = await user.send(set, new URLSearchParams([['token', token], ...fields]).toString());
  assertRefused(
    ended,
    403,
    'Your session has ended. Log in; what you typed is kept, and shown again then. It is not sent yet.',
  );
  assert.equal(ended.title, 'login');
  const typed = fields.map(([name, value]) => ({ name, value }));
  assert.deepEqual(ended.posted.fields, typed);
  const login = { token: ended.token, name: 'anna', password };
  const answer = await user.send('/do/login', new URLSearchParams(login).toString());
  assertDone(answer, '/password.html');
  const next = { new: 'another password', repeat: 'another password' };
  await user.post('/password.html', '/do/password', { old: password, ...next });
  assert.deepEqual((await user.get(editPage)).posted.fields, typed);
  assert.equal(stored(platend, 'web/A.KTP'), before);
});

test('a session that has ended keeps what was typed for the page it was for', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const { token } = await admin.get(editPage);
  const cookie = admin.cookies.get('platen_session');
  await admin.post('/index.html', '/do/logout');
  admin.cookies.set('platen_session', cookie);
  const fields = edits(update('Note', 'typed', { was: 'old' }));
  const ended = await admin.send(set, new URLSearchParams([['token', token], ...fields]).toString());
  assert.equal(ended.status, 403);
  assert.equal((await admin.get('/login.html')).reason, 'Your session has ended. Log in again.');
  const wrong = await admin.send(
    '/do/login',
    new URLSearchParams({ token: ended.token, name: 'admin', password: 'wrong' }).toString(),
  );
  const login = { token: wrong.token, name: 'admin', password: adminPassword };
  const answer = await admin.send('/do/login', new URLSearchParams(login).toString());
  assertDone(answer, editPage);
  const page = await admin.get(editPage);
  assert.equal(page.notice, 'You are logged in again. What you had typed stands here; it is not sent yet.');
  assert.deepEqual(page.posted.fields, fields.map(([name, value]) => ({ name, value })));
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = old\n/);
  assert.equal((await admin.get(editPage)).posted, null);
  const again = page.posted.fields.map(({ name, value }) => [name, value]);
  assert.equal((await admin.post(editPage, set, again)).status, 303);
  assert.match(stored(platend, 'web/A.KTP'), /Note \(string\) = typed\n/);
});

test('a lock-out says how long it lasts', async (t) => {
  const { platend } = await startWithAdmin(t);
  const guesser = new Visitor(platend);
  const reason = 'The name or the password is not right. Type both again.';
  let locked;
  // Each further failure doubles the wait: at the latest then a guess comes within it.
  for (let tries = 0; (locked = await guesser.logIn('admin', 'guess')).status !== 429; ++tries) {
    assertRefused(locked, 403, reason);
    assert.ok(tries < 20);
  }
  assert.match(locked.reason, /^There were too many failed tries. Try again in \d+ (seconds?|minutes).$/);
  assert.match(locked.headers['retry-after'], /^\d+$/);
  assert.deepEqual(locked.posted.fields, [{ name: 'name', value: 'admin' }]);
});

test('accounts are added, disabled, enabled and reset by an administrator', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const user = await addUser(platend, admin);
  const change = (visitor, what, name = 'anna') =>
    visitor.post('/accounts.html', '/do/account', { what, name, role: 'user' });
  assert.deepEqual((await admin.get('/accounts.html')).accounts, [
    { name: 'admin', role: 'administrator', disabled: false, mustChange: false },
    { name: 'anna', role: 'user', disabled: false, mustChange: false },
  ]);
  assertRefused(await change(admin, 'add'), 422, 'There is an account "anna" already; choose another name.');
  assert.equal((await user.post('/index.html', '/do/account', { what: 'reset', name: 'admin' })).status, 403);
  assert.equal((await change(admin, 'disable')).status, 303);
  assert.equal((await admin.get('/accounts.html')).notice, 'The account "anna" is disabled.');
  assert.equal((await user.get('/index.html')).login, null);
  assertRefused(
    await user.logIn('anna', 'password of anna'),
    403,
    'This account is disabled. Ask an administrator to enable it.',
  );
  assert.equal((await change(admin, 'enable')).status, 303);
  assert.equal((await user.logIn('anna', 'password of anna')).status, 303);
  assert.match(
    (await change(admin, 'disable', 'admin')).reason,
    /^"admin" is the last administrator who can log in/,
  );
});

test('logging out ends the session for good', async (t) => {
  const { admin } = await startWithAdmin(t);
  const cookie = admin.cookies.get('platen_session');
  assertDone(await admin.post('/pool.html', '/do/logout'), '/index.html');
  assert.equal((await admin.get('/index.html')).notice, 'You are logged out.');
  admin.cookies.set('platen_session', cookie);
  assert.equal((await admin.get('/index.html')).login, null);
  assert.equal((await admin.get(editPage)).status, 303);
});

test('a language is chosen for the browser', async (t) => {
  const page = formPages['index.html'] + '<i><!--#phrase id="9998"--></i>';
  const pages = { ...formPages, 'index.html': page };
  const platend = await startPlatend(t, { pages, data: formDevice(t) });
  const visitor = new Visitor(platend);
  const choose = (language) => visitor.post('/index.html', '/do/language', { language });
  assert.match((await visitor.get('/index.html')).body, /<i>en-us<\/i>/);
  assertDone(await choose('de-de'), '/index.html');
  assert.equal(visitor.cookies.get('platen_language'), 'de-de');
  assert.match((await visitor.get('/index.html')).body, /<i>de-de<\/i>/);
  assertRefused(await choose('xx'), 422, 'The language "xx" is not installed; choose another.');
  visitor.cookies.set('platen_language', '../xx');
  assert.match((await visitor.get('/index.html')).body, /<i>en-us<\/i>/);
});

test('a lost password is reset from the shell while platend serves', async (t) => {
  const { platend, admin } = await startWithAdmin(t);
  const result = await run(program, ['--data', platend.data, 'account', 'reset', 'admin']);
  assert.equal(result.code, 0, result.stderr);
  const password = result.stdout.match(/^The password of admin is (\S+) and must be changed/)[1];
  assert.equal((await admin.get('/index.html')).login, null);
  assertDone(await admin.logIn('admin', password), '/password.html');
  const misused = await run(program, ['--data', platend.data, 'account', 'drop', 'admin']);
  assert.equal(misused.code, 2);
  assert.match(misused.stderr, /^platend account: "drop" is not known\n/);
});

test('a page without a place for the reason gives way to a plain one', async (t) => {
  const pages = { 'index.html': '<form method="post"><!--#token--></form>' };
  const platend = await startPlatend(t, { pages, data: formDevice(t) });
  const answer = await new Visitor(platend).post('/index.html', '/do/language', { language: 'xx' });
  assert.equal(answer.status, 422);
  assert.match(answer.body, /<h1>422 Unprocessable Content<\/h1>\n<p>The language "xx" is not installed/);
});
