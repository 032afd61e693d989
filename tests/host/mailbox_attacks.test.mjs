// Attacks on the mailbox over HTTP: nothing of a folder or job is seen or changed without its password.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { administrator, log, spool, startMailbox } from './mailbox.mjs';
import { encode } from './visitor.mjs';

const verifyPin = '/form/HTTP_Parser_Verify_Mbox_Password_fn';
const verifyJob = '/form/HTTP_Parser_Verify_Job_Password_fn';
const changePin = '/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn';
const setPin = '/form/HTTP_Parser_Mbox_Set_Pass_SA_fn';
const pinPage = '/mailbox/pin.php?name=anna';
const job7 = ['anna', 'job7.d', 'scan.tif'];

const every = [
  [verifyPin, { name: 'anna', pass: '2468' }],
  [verifyJob, { name: 'open', subf: 'job2.d', file: 'scan.pdf', action: 'dnl', pass: 'secret2' }],
  [changePin, { unsafeUser: 'anna', unsafePasswd: '1', repeat: '1' }],
  [setPin, { saUser: 'anna', saPasswd: '1', repeat: '1' }],
  ['/do/job', { name: 'open', subf: 'job1.d', file: 'scan.pdf', action: 'del' }],
  ['/do/folder', { what: 'delete', name: 'open', jobs: 'delete' }],
  ['/do/mailbox-settings', { promptOnPrivateScan: 'TRUE', publicPasswordEnabled: 'TRUE', scanToPublic: 'FALSE' }],
];

/** All files of the spool and the mailbox pool, with their bytes. */
function tree(platend) {
  const roots = [spool(platend), path.join(platend.data, 'pool/mailbox')];
  return roots.flatMap((root) =>
    fs.readdirSync(root, { recursive: true, withFileTypes: true })
      .filter((entry) => entry.isFile())
      .map(({ parentPath, path: old, name }) => path.join(parentPath ?? old, name))
      .sort()
      .map((file) => [file, fs.readFileSync(file, 'latin1')]),
  );
}

async function unharmed(platend, attack) {
  const before = tree(platend);
  const result = await attack();
  assert.deepEqual(tree(platend), before);
  return result;
}

const isPinPage = (answer, folder) => {
  assert.equal(answer.status, 303);
  assert.equal(answer.location, `/mailbox/pin.php?name=${folder}`);
  assert.equal(answer.body, '');
};

test('forged origin, missing and foreign token on every form', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const admin = await administrator(platend);
  const other = visitor();
  const { token: foreign } = await other.get('/mailbox/index.php');
  await unharmed(platend, async () => {
    for (const [form, fields] of every) {
      const { token } = await admin.get('/mailbox/index.php');
      const forged = await admin.send(form, encode({ token, ...fields }), { origin: 'http://evil.example' });
      assert.equal(forged.status, 403, form);
      assert.equal((await admin.send(form, encode(fields))).status, 403, form);
      assert.equal((await admin.send(form, encode({ token: foreign, ...fields }))).status, 403, form);
      assert.equal((await admin.get(form)).status, 405, form);
    }
  });
});

test('a form for administrators from somebody else', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  await unharmed(platend, async () => {
    for (const [form, fields] of every.filter(([name]) => /SA_fn|folder|settings/.test(name))) {
      assert.equal((await v.post('/mailbox/index.php', form, fields)).status, 403, form);
    }
  });
  assert.equal((await v.get('/mailbox/settings.php')).location, '/login.html?NextPage=%2Fmailbox%2Fsettings.php');
});

test('a field given twice, unknown, over-long or with a NUL byte', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  const { token } = await v.get(pinPage);
  await unharmed(platend, async () => {
    for (const more of [
      [['name', 'bert']],
      [['pass', '2468']],
      [['ParserFilename', '/var/spool/nc/image_store/s2mailbox/anna/job7.d/job7.KTP']],
      [['loginName', 'admin']],
      [['sid', 'x'.repeat(2000)]],
      [['NextPage', '/'], ['NextPage', '/']],
    ]) {
      const answer = await v.send(verifyPin, encode([['token', token], ['name', 'anna'], ['pass', 'x'], ...more]));
      assert.equal(answer.status, 422);
    }
    const broken = await v.send(verifyPin, `token=${encodeURIComponent(token)}&name=anna%00&pass=2468`);
    assert.equal(broken.status, 400);
  });
  isPinPage(await v.get('/mailbox/folder.php?name=anna'), 'anna');
});

test('every page that names a private folder without its session', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  const query = 'name=anna&subf=job8.d&file=scan.tif&action=dnl';
  for (const page of ['/mailbox/folder.php', '/mailbox/action.php', '/mailbox/do_action.php', '/mailbox/index.php', '/leak.php', '/index.html']) {
    isPinPage(await v.get(`${page}?${query}`), 'anna');
  }
  const { body, php, jobs } = await v.get(pinPage);
  assert.equal(jobs, null);
  assert.ok(!/job8|scan\.tif/.test(body));
  assert.deepEqual(php.folders['anna.KTP'], [true, false]);
  await unharmed(platend, async () => {
    isPinPage(await v.actOnJob('anna', 'job8.d', 'scan.tif', 'dnl'), 'anna');
    isPinPage(await v.actOnJob('anna', 'job8.d', 'scan.tif', 'del'), 'anna');
    isPinPage(await v.giveJobPassword(...job7, 'dnl', 'secret7'), 'anna');
  });
});

test("another folder with one's own session", async (t) => {
  const { visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  assert.equal((await v.get('/mailbox/folder.php?name=anna')).status, 200);
  isPinPage(await v.get('/mailbox/folder.php?name=bert'), 'bert');
  isPinPage(await v.actOnJob('bert', 'job9.d', 'scan.tif', 'dnl'), 'bert');
  isPinPage(await v.post('/mailbox/index.php', changePin, { unsafeUser: 'bert', unsafePasswd: '1', repeat: '1' }), 'bert');
  assert.equal((await v.givePin('bert', '2468')).location, '/mailbox/pin.php?name=bert&msg=tryagn');
});

test('a folder name that leads out of the spool', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  const { token } = await v.get('/mailbox/index.php');
  for (const name of ['..', '.', '', '../s2mailbox/bert', 'anna/../bert', 'anna/', '/', 'anna|x', 'anna&x', 'x'.repeat(63)]) {
    const query = encode({ name, subf: 'job9.d', file: 'scan.tif', action: 'dnl' });
    assert.equal((await v.get(`/mailbox/folder.php?${query}`)).status, 400, name);
    const refused = await v.send('/do/job', encode({ token, name, subf: 'job9.d', file: 'scan.tif', action: 'dnl' }));
    assert.equal(refused.status, 422, name);
  }
  assert.equal((await v.get('/mailbox/folder.php?name=nobody')).status, 404);
  assert.equal((await v.get('/mailbox/folder.php')).status, 400);
  fs.symlinkSync(spool(platend, 'bert/job9.d'), spool(platend, 'anna/link.d'));
  fs.symlinkSync(spool(platend, 'bert/job9.d/scan.tif'), spool(platend, 'anna/job8.d/link.tif'));
  assert.equal((await v.actOnJob('anna', 'link.d', 'scan.tif', 'dnl')).status, 404);
  assert.equal((await v.actOnJob('anna', 'job8.d', 'link.tif', 'dnl')).status, 404);
});

test('a job name with a slash, or too long for a log path', async (t) => {
  const long = `${'x'.repeat(63)}.d`;
  const longFile = `${'y'.repeat(80)}.pdf`;
  const jobs = { [`open/${long}/a.pdf`]: '%PDF', [`open/${longFile}`]: '%PDF', 'open/.KTP': log() };
  const { platend, visitor } = await startMailbox(t, { device: { jobs } });
  const v = visitor();
  const { jobs: shown } = await v.get('/mailbox/folder.php?name=open');
  const states = Object.fromEntries(shown.map(({ job, state }) => [job, state]));
  assert.equal(states[long], 'locked');
  assert.equal(states[longFile], 'locked');
  await unharmed(platend, async () => {
    assert.equal((await v.actOnJob('open', '', longFile, 'dnl')).status, 403);
    assert.equal((await v.actOnJob('open', long, 'a.pdf', 'dnl')).status, 422);
    for (const [subf, file] of [['job1.d/../job2.d', 'a'], ['', '../anna/job8.d/scan.tif'], [long, 'a.pdf']]) {
      const answer = await v.giveJobPassword('open', subf, file, 'dnl', 'x', {
        ParserFilename: '/var/spool/nc/image_store/s2mailbox/open/job2.d/job2.KTP',
      });
      assert.equal(answer.status, 422);
    }
    const { location } = await v.giveJobPassword('open', '', longFile, 'dnl', 'secret2');
    assert.match(location, /&msg=tryagn$/);
  });
});

test('a planted, replayed or stale session', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const planted = 'A'.repeat(43);
  const victim = visitor();
  victim.cookies.set('platen_session', planted);
  await victim.givePin('anna', '2468');
  assert.notEqual(victim.cookies.get('platen_session'), planted);
  const attacker = visitor();
  attacker.cookies.set('platen_session', planted);
  isPinPage(await attacker.get('/mailbox/folder.php?name=anna'), 'anna');

  const stale = victim.cookies.get('platen_session');
  await victim.post('/mailbox/index.php', '/do/logout');
  attacker.cookies.set('platen_session', stale);
  isPinPage(await attacker.get('/mailbox/folder.php?name=anna'), 'anna');

  const sids = [stale, planted, 'T', ''];
  for (const sid of sids) {
    const { location } = await attacker.givePin('anna', 'wrong', { sid });
    assert.equal(location, '/mailbox/pin.php?name=anna&msg=tryagn');
  }
  const owner = visitor();
  await owner.givePin('anna', '2468', { sid: 'chosen by somebody' });
  assert.deepEqual((await owner.get('/mailbox/index.php')).php.folders['anna.KTP'], [true, true]);
  assert.ok(!platend.log.includes('2468'));
});

test('a second session takes the folder over, and logging out or a new PIN closes it', async (t) => {
  const { visitor } = await startMailbox(t);
  const [first, second] = [visitor(), visitor()];
  await first.givePin('anna', '2468');
  await second.givePin('anna', '2468');
  isPinPage(await first.get('/mailbox/folder.php?name=anna'), 'anna');
  await second.giveJobPassword('anna', 'job7.d', 'job7.KTP', 'opn', 'secret7');
  assert.equal((await second.get('/mailbox/folder.php?name=anna&subf=job7.d')).status, 200);
  const changed = await second.post('/mailbox/folder.php?name=anna', changePin, { unsafeUser: 'anna', unsafePasswd: '8642', repeat: '8642' });
  isPinPage(changed, 'anna');
  isPinPage(await second.get('/mailbox/folder.php?name=anna'), 'anna');
  assert.match((await second.givePin('anna', '2468')).location, /tryagn$/);
  await second.givePin('anna', '8642');
  assert.match((await second.get('/mailbox/folder.php?name=anna&subf=job7.d')).location, /^\/mailbox\/action\.php\?/);
});

test('do_action.php and /do/job addressed directly without the grant', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  const address = (action) => `name=anna&subf=job7.d&file=scan.tif&action=${action}`;
  for (const action of ['dnl', 'del', 'opn']) {
    const answer = await v.get(`/mailbox/do_action.php?${address(action)}`);
    assert.equal(answer.status, 303);
    assert.equal(answer.location, `/mailbox/action.php?${address(action)}`);
  }
  await unharmed(platend, async () => {
    assert.equal((await v.actOnJob(...job7, 'dnl')).status, 403);
    assert.equal((await v.actOnJob(...job7, 'del')).status, 403);
    // A grant is for what its password was given for, and for once.
    await v.giveJobPassword(...job7, 'opn', 'secret7');
    assert.equal((await v.actOnJob(...job7, 'dnl')).status, 403);
    const right = await v.giveJobPassword(...job7, 'dnl', 'secret7');
    assert.equal(right.location, `/mailbox/do_action.php?${address('dnl')}`);
    assert.equal((await v.get(right.location)).status, 200);
    assert.equal((await v.actOnJob(...job7, 'del')).status, 403);
    assert.equal((await v.actOnJob(...job7, 'dnl')).body, 'II* anna');
    assert.equal((await v.actOnJob(...job7, 'dnl')).status, 403);
  });
});

test('the password of one flat job opens no other', async (t) => {
  const { visitor } = await startMailbox(t);
  const v = visitor();
  await v.giveJobPassword('open', '', 'flat.KTP', 'opn', 'secretflat');
  const { jobs } = await v.get('/mailbox/folder.php?name=open');
  const states = Object.fromEntries(jobs.map(({ job, state }) => [job, state]));
  assert.deepEqual(states, { flat: 'open', job1: 'free', job2: 'locked', job3: 'locked', loose: 'free', other: 'locked' });
});

test("a job's log asked for as a file", async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  for (const [folder, subf, file] of [['anna', 'job7.d', 'job7.KTP'], ['anna', 'job8.d', 'job8.KTP'], ['open', '', 'flat.KTP'], ['open', '', 'loose.KTP']]) {
    await v.giveJobPassword(folder, subf, file, 'dnl', 'secret7');
    await v.giveJobPassword(folder, subf, file, 'dnl', 'secretflat');
    const answer = await v.actOnJob(folder, subf, file, 'dnl');
    assert.equal(answer.status, 404, file);
    assert.ok(!answer.body.includes('secret'), file);
  }
  assert.equal((await v.get('/template.html?ParserFilename=/var/spool/nc/image_store/s2mailbox/anna/job7.d/job7.KTP')).status, 404);
  assert.ok(!platend.log.includes('secret7'));
});

test('no page shows a job password, a session id or a path', async (t) => {
  const { visitor } = await startMailbox(t);
  const v = visitor();
  await v.givePin('anna', '2468');
  await v.giveJobPassword('anna', 'job7.d', 'job7.KTP', 'opn', 'secret7');
  for (const page of ['/mailbox/', '/mailbox/folder.php?name=anna', '/mailbox/folder.php?name=anna&subf=job7.d', '/mailbox/folder.php?name=open', '/mailbox/action.php?name=open&subf=job2.d&file=a&action=opn']) {
    const { status, body } = await v.get(page);
    assert.equal(status, 200);
    assert.ok(!/secret|image_store|[0-9a-f]{64}"/.test(body.replace(/name="token" value="[^"]*"/g, '')), page);
  }
});

test('a PIN search at speed', async (t) => {
  const { visitor } = await startMailbox(t);
  const guess = (ask) => Promise.all(Array.from({ length: 12 }, (_, i) => ask(visitor(), `${1000 + i}`)));
  for (const answers of [
    await guess((v, pin) => v.givePin('anna', pin)),
    await guess((v, password) => v.giveJobPassword('open', 'job2.d', 'a', 'opn', password)),
  ]) {
    const heard = answers.filter(({ status }) => status === 303);
    const slowed = answers.filter(({ status }) => status === 429);
    assert.equal(heard.length + slowed.length, 12);
    assert.ok(heard.length >= 5 && slowed.length > 0, `${heard.length}`);
    assert.ok(heard.every(({ location }) => location.endsWith('&msg=tryagn')));
    for (const { reason, headers } of slowed) {
      assert.match(reason, /^There were too many failed tries\. Try again in \d+ seconds?\.$/);
      assert.match(headers['retry-after'], /^\d+$/);
    }
  }
});

test('a next page that leads elsewhere', async (t) => {
  const { visitor } = await startMailbox(t);
  const v = visitor();
  for (const NextPage of ['http://evil.example/', '//evil.example/', '/mailbox/folder.php?name=bert', '/\\evil', '']) {
    assert.equal((await v.givePin('anna', 'x', { NextPage })).location, '/mailbox/pin.php?name=anna&msg=tryagn');
    await v.givePin('anna', '2468', { NextPage });
  }
  const right = await v.givePin('anna', '2468', { NextPage: 'http://evil.example/' });
  assert.equal(right.location, '/mailbox/folder.php?name=anna');
  const deleted = await v.post('/mailbox/index.php', '/do/job', { name: 'open', subf: 'job1.d', file: 'a', action: 'del', NextPage: '//evil.example/' });
  assert.equal(deleted.location, '/mailbox/folder.php?name=open');
});

test('header injection through a name', async (t) => {
  const name = 'a "b" %0d%0aX-Evil: 1; c=d#e';
  const file = '100% %2f.%2f "q"; x=y é.pdf';
  const { platend, visitor } = await startMailbox(t, {
    device: {
      templates: { [`mailbox/${name}.KTP`]: log() },
      jobs: { [`${name}/j.d/j.KTP`]: log('p'), [`${name}/j.d/${file}`]: '%PDF odd' },
      settings: { [`${name}.password`]: '1' },
    },
  });
  const v = visitor();
  const { token } = await v.get('/mailbox/index.php');
  for (const bad of ['anna\r\nX-Evil: 1', 'anna\nX', 'anna\x7f']) {
    assert.equal((await v.send(verifyPin, encode({ token, name: bad, pass: 'x' }))).status, 422);
  }
  const right = await v.givePin(name, '1');
  assert.equal(decodeURIComponent(right.location), `/mailbox/folder.php?name=${name}`);
  assert.ok(!/[^!-~]/.test(right.location));
  assert.equal((await v.get(`/mailbox/folder.php?name=${encodeURIComponent(name)}`)).php.query.name, name);
  const action = await v.giveJobPassword(name, 'j.d', file, 'dnl', 'p');
  assert.equal(action.status, 303);
  assert.match(action.location, /^\/mailbox\/do_action\.php\?/);
  const got = await v.actOnJob(name, 'j.d', file, 'dnl');
  assert.equal(got.body, '%PDF odd');
  assert.equal(got.headers['x-evil'], undefined);
  assert.equal(got.headers['x-sendfile'], undefined);
  assert.equal(decodeURIComponent(got.headers['content-disposition']), `attachment; filename*=UTF-8''${file}`);
  assert.equal(platend.child.exitCode, null);
});

test('a page shown again after its folder was closed', async (t) => {
  const { visitor } = await startMailbox(t);
  const [v, other] = [visitor(), visitor()];
  await v.givePin('anna', '2468');
  const { token } = await v.get('/mailbox/folder.php?name=anna');
  await other.givePin('anna', '2468');
  const again = await v.send('/do/job', encode({ token, name: 'open', subf: 'job2.d', file: 'scan.pdf', action: 'dnl' }));
  isPinPage(again, 'anna');
});
