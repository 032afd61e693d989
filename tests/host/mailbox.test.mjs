// The mailbox over HTTP: PINs, job passwords, files, folders, settings and the upkeep of its templates.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { administrator, spool, startMailbox } from './mailbox.mjs';
import { stored } from './visitor.mjs';

const settingsPage = '/mailbox/settings.php';
const setPin = '/form/HTTP_Parser_Mbox_Set_Pass_SA_fn';
const settings = (prompt, password, scan) => ({ promptOnPrivateScan: prompt, publicPasswordEnabled: password, scanToPublic: scan });

const exists = (platend, name) => fs.existsSync(spool(platend, name));
const prompts = (platend, folder) => [...stored(platend, `mailbox/${folder}.KTP`).matchAll(/MetaDataPrompt .*= (.*)/g)].map(([, text]) => text);

/** Posts a form and returns the page that follows, with what it tells. */
async function done(visitor, form, fields) {
  const { status, location, reason } = await visitor.post(settingsPage, form, fields);
  assert.deepEqual([status, location], [303, settingsPage], reason);
  return visitor.get(settingsPage);
}

test('a folder is opened with its PIN and a job with its password', async (t) => {
  const { visitor } = await startMailbox(t);
  const v = visitor();
  assert.equal((await v.givePin('anna', '1')).location, '/mailbox/pin.php?name=anna&msg=tryagn');
  assert.equal((await v.get('/mailbox/pin.php?name=anna&msg=tryagn')).php.query.msg, 'tryagn');
  assert.equal((await v.givePin('anna', '2468')).location, '/mailbox/folder.php?name=anna');
  const { jobs, php } = await v.get('/mailbox/folder.php?name=anna');
  assert.deepEqual(php.protected, ['job7']);
  assert.deepEqual(php.folders['anna.KTP'], [true, true]);
  const [locked, free] = jobs;
  assert.deepEqual(locked, { job: 'job7', subf: 'job7.d', file: 'job7.KTP', state: 'locked', files: null });
  assert.deepEqual([free.job, free.state], ['job8', 'free']);
  assert.deepEqual(free.files.map(({ name, size }) => [name, size]), [['scan.tif', 8]]);
  assert.match(free.files[0].modified, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/);

  const query = 'name=anna&subf=job7.d&file=job7.KTP&action=opn';
  assert.equal((await v.get('/mailbox/folder.php?name=anna&subf=job7.d')).location, `/mailbox/action.php?${query}`);
  const wrong = await v.giveJobPassword('anna', 'job7.d', 'job7.KTP', 'opn', 'x');
  assert.equal(wrong.location, `/mailbox/action.php?${query}&msg=tryagn`);
  const right = await v.giveJobPassword('anna', 'job7.d', 'job7.KTP', 'opn', 'secret7');
  assert.equal(right.location, '/mailbox/folder.php?name=anna&subf=job7.d');
  const opened = (await v.get(right.location)).jobs;
  assert.deepEqual(opened.map(({ job, state }) => [job, state]), [['job7', 'open']]);
});

test('a file arrives as it is, under its name', async (t) => {
  const bytes = Buffer.from(Array.from({ length: 70000 }, (_, i) => (i * 7) % 128));
  const { visitor } = await startMailbox(t, { device: { jobs: { 'open/job1.d/Big file.PDF': bytes } } });
  const answer = await visitor().actOnJob('open', 'job1.d', 'Big file.PDF', 'dnl');
  assert.equal(answer.status, 200);
  assert.equal(answer.headers['content-type'], 'application/pdf');
  assert.equal(answer.headers['content-disposition'], "attachment; filename*=UTF-8''Big%20file.PDF");
  assert.equal(answer.headers['x-content-type-options'], 'nosniff');
  assert.equal(answer.body, bytes.toString('latin1'));
});

test('a deletion takes the job and nothing else', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const v = visitor();
  assert.equal((await v.actOnJob('open', 'job1.d', 'job1.KTP', 'del')).location, '/mailbox/folder.php?name=open');
  assert.equal((await v.get('/mailbox/folder.php?name=open')).notice, 'The job "job1.d" is deleted.');
  assert.equal((await v.actOnJob('open', '', 'loose.KTP', 'del')).status, 303);
  assert.deepEqual(fs.readdirSync(spool(platend, 'open')).sort(), ['flat.KTP', 'flat.pdf', 'job2.d', 'job3.d', 'other.KTP', 'other.pdf']);
  assert.equal((await v.actOnJob('open', 'job1.d', 'job1.KTP', 'del')).status, 403);
});

test('the administrator makes, renames and deletes folders', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const admin = await administrator(platend);
  const made = await done(admin, '/do/folder', { what: 'create', name: 'New folder' });
  assert.match(made.notice, /^The folder "New folder" is made\.\n/);
  assert.ok(exists(platend, 'New folder'));
  assert.match(stored(platend, 'mailbox/New folder.KTP'), /JobTemplateName/);
  for (const name of ['anna', 'New folder', 'bert']) {
    const again = await admin.post(settingsPage, '/do/folder', { what: 'create', name });
    assert.deepEqual([again.status, again.posted.field], [409, 'name']);
  }
  for (const name of ['_PUBLIC', 'a"b', 'a=b', '.a', 'a..b', 'x'.repeat(63)]) {
    assert.equal((await admin.post(settingsPage, '/do/folder', { what: 'create', name })).status, 422, name);
  }

  const guest = visitor();
  await guest.givePin('anna', '2468');
  await done(admin, '/do/folder', { what: 'rename', name: 'anna', newName: 'Anna B' });
  assert.ok(exists(platend, 'Anna B/job7.d/scan.tif'));
  assert.ok(!exists(platend, 'anna'));
  assert.equal(stored(platend, 'mailbox/anna.KTP'), null);
  assert.equal((await guest.get('/mailbox/folder.php?name=Anna%20B')).location, '/mailbox/pin.php?name=Anna%20B');
  assert.equal((await guest.givePin('Anna B', '2468')).location, '/mailbox/folder.php?name=Anna%20B');

  const full = await admin.post(settingsPage, '/do/folder', { what: 'delete', name: 'Anna B' });
  assert.deepEqual([full.status, full.posted.field], [409, 'jobs']);
  assert.match(full.reason, /still has 2 jobs/);
  await done(admin, '/do/folder', { what: 'delete', name: 'Anna B', jobs: 'delete' });
  assert.ok(!exists(platend, 'Anna B'));
  await done(admin, '/do/folder', { what: 'create', name: 'Anna B' });
  const { mailbox } = await admin.get(settingsPage);
  assert.deepEqual(mailbox.folders.find(({ name }) => name === 'Anna B'), { name: 'Anna B', private: false, pin: true, jobs: 0 });
  for (const what of ['rename', 'delete']) {
    assert.equal((await admin.post(settingsPage, '/do/folder', { what, name: '_PUBLIC', newName: 'x' })).status, 422);
  }
});

test('settings and PINs bring the templates in line, and the next page tells what changed', async (t) => {
  const { platend } = await startMailbox(t, { device: { templates: { 'mailbox/M.KTP': '' } } });
  const admin = await administrator(platend);
  const first = await done(admin, '/do/mailbox-settings', settings('TRUE', 'TRUE', 'FALSE'));
  assert.equal(
    first.notice,
    'The settings are stored.\n' +
      'M.KTP: added "Enter Password for Job", "Enter Document Name".\n' +
      'anna.KTP: added "Enter Password for Folder".\n' +
      'bert.KTP: added "Enter Password for Folder".\n' +
      'open.KTP: added "Enter Password for Job", "Enter Document Name".\n' +
      '_PUBLIC.KTP: removed.\n' +
      'The device was asked to load its templates again.',
  );
  assert.equal((await admin.get(settingsPage)).notice, '');
  assert.deepEqual(prompts(platend, 'anna'), ['Enter Password for Folder']);
  const before = stored(platend, 'mailbox/anna.KTP');
  const same = await done(admin, '/do/mailbox-settings', settings('TRUE', 'TRUE', 'FALSE'));
  assert.match(same.notice, /\nNo template had to change\.\nNo reload of the templates was needed\.$/);
  assert.equal(stored(platend, 'mailbox/anna.KTP'), before);

  const pin = await done(admin, setPin, { saUser: 'open', saPasswd: '1"2', repeat: '1"2' });
  assert.match(pin.notice, /open\.KTP: added "Enter Password for Folder"\. removed "Enter Password for Job", "Enter Document Name"\./);
  const cleared = await done(admin, setPin, { saUser: 'anna', saPasswd: '', repeat: '' });
  assert.match(cleared.notice, /^The PIN of the folder "anna" is removed: the folder is public\.\nanna\.KTP: added "Enter Password for Job"/);
  const back = await done(admin, '/do/mailbox-settings', settings('FALSE', 'FALSE', 'TRUE'));
  assert.match(back.notice, /_PUBLIC\.KTP: made\./);
  assert.deepEqual(prompts(platend, 'anna'), []);
  assert.deepEqual(back.mailbox.folders.filter(({ private: is }) => is).map(({ name }) => name), ['bert', 'open']);
});

test('a folder whose template is restored asks for its PIN as before', async (t) => {
  const { platend } = await startMailbox(t);
  const admin = await administrator(platend);
  await done(admin, '/do/mailbox-settings', settings('TRUE', 'TRUE', 'TRUE'));
  const restore = '/form/HTTP_Parser_Restore_Defaults_fn';
  const fields = { ParserFilename: 'MAILBOX.KTP', CopyParserFilenameMailbox: 'anna.KTP' };
  assert.equal((await admin.post(settingsPage, restore, fields)).status, 409);
  const { notice } = await done(admin, restore, { ...fields, replace: 'yes' });
  assert.equal(
    notice,
    '"anna.KTP" is restored from the factory pool.\nanna.KTP: added "Enter Password for Folder".\n' +
      'No reload of the templates was needed.',
  );
  assert.match(stored(platend, 'mailbox/anna.KTP'), /JobTemplateName \(string\) = anna\.KTP\n/);
  assert.deepEqual(prompts(platend, 'anna'), ['Enter Password for Folder']);
});

test('a PIN is set only when it was typed twice, for a folder that is there', async (t) => {
  const { platend, visitor } = await startMailbox(t);
  const admin = await administrator(platend);
  const twice = await admin.post(settingsPage, setPin, { saUser: 'open', saPasswd: '1', repeat: '2' });
  assert.deepEqual([twice.status, twice.posted.field], [422, 'repeat']);
  assert.ok(!twice.posted.fields.some(({ name }) => name !== 'saUser'));
  const nobody = await admin.post(settingsPage, setPin, { saUser: 'nobody', saPasswd: '1', repeat: '1' });
  assert.deepEqual([nobody.status, nobody.reason], [422, 'There is no folder "nobody".']);
  const v = visitor();
  const change = (unsafeUser, unsafePasswd) =>
    v.post('/mailbox/index.php', '/form/HTTP_Parser_Mbox_Set_Pass_Usr_fn', { unsafeUser, unsafePasswd, repeat: unsafePasswd });
  assert.equal((await change('open', '1')).status, 403);
  await v.givePin('anna', '2468');
  assert.equal((await change('anna', '')).status, 422);
  assert.equal((await change('anna', '9')).location, '/mailbox/pin.php?name=anna');
  assert.equal((await v.givePin('anna', '9')).location, '/mailbox/folder.php?name=anna');
});

test('an upkeep that was left undone is run at the first request', async (t) => {
  const { platend, visitor } = await startMailbox(t, { device: { settings: { webUpdate: 'TRUE', 'anna.password': '1' } } });
  await visitor().get('/mailbox/');
  assert.deepEqual(prompts(platend, 'anna'), ['Enter Password for Folder']);
  await platend.logged(/The mailbox's templates were left out of line and are in line again: anna\.KTP: added/);
});

test('upkeeps at the same time leave each prompt once', async (t) => {
  const { platend } = await startMailbox(t);
  const admin = await administrator(platend);
  await Promise.all(
    Array.from({ length: 6 }, () => admin.post(settingsPage, '/do/mailbox-settings', settings('TRUE', 'TRUE', 'TRUE'))),
  );
  assert.deepEqual(prompts(platend, 'anna'), ['Enter Password for Folder']);
  assert.deepEqual(prompts(platend, 'open'), ['Enter Password for Job', 'Enter Document Name']);
});

test('first settings that cannot be understood stop the start and are named', async (t) => {
  await assert.rejects(startMailbox(t, { device: { settings: { x: '' } } }), /etc\/settings\.txt:1/);
});
