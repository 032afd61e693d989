// The mailbox as people use it: folders, PINs, jobs, job passwords, and the administrator's settings.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { checkLooks, samples, shown, startDevice } from './device.mjs';

const secrets = ['blue heron', 'grey seal', 'red kite', '/var/spool', 's2mailbox'];

const spool = (data, name) => path.join(data, 'spool/image_store/s2mailbox', name);

/** A sample device; `device.open()` shows one of its mailbox pages. */
async function startMailbox(t, prepare) {
  const device = await startDevice(t, prepare);
  device.open = async (page, name, fields) => {
    await page.goto(device.url(`mailbox/${name}`, fields));
    await checkSecrets(page);
  };
  return device;
}

// Nothing that a page was sent holds a password of the sample device, or a path.
async function checkSecrets(page) {
  const text = await page.content();
  assert.deepEqual(secrets.filter((secret) => text.includes(secret)), []);
}

// Uses a link or a button that leads to another page.
async function follow(page, control) {
  await Promise.all([page.waitForEvent('load'), control.click()]);
  await checkSecrets(page);
}

const link = (page, name) => page.getByRole('link', { name });
const button = (page, name) => page.getByRole('button', { name, exact: true });

async function enterPin(page, pin) {
  await page.getByLabel('PIN of the folder').fill(pin);
  await follow(page, button(page, 'Open'));
}

async function enterJobPassword(page, password) {
  await page.getByLabel('Job password').fill(password);
  await follow(page, button(page, 'Continue'));
}

async function downloaded(page, control) {
  const [download] = await Promise.all([page.waitForEvent('download'), control.click()]);
  return { name: download.suggestedFilename(), bytes: fs.readFileSync(await download.path()) };
}

const job = (page, name) =>
  page.locator('.job', { has: page.getByRole('heading', { name, exact: true }) });

test('the folders tell who may open them', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await page.goto(device.url(''));
  await follow(page, link(page, 'Mailbox folders'));
  assert.deepEqual(await shown(page, '.folders a'), [
    'Public folder\nopen to everybody',
    'accounts team\nneeds a PIN',
    'anna\nneeds a PIN',
    'reception\nopen to everybody',
  ]);
  assert.deepEqual(await shown(page, 'a[href="/mailbox/settings.php"]'), []);
  await follow(page, link(page, 'reception'));
  assert.deepEqual(await shown(page, '.empty'), ['There are no jobs in this folder.']);
  assert.deepEqual(page.faults, []);
});

test('a free job is downloaded byte for byte, and deleted after a question', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  assert.deepEqual(await shown(page, '.job h2'), ['Contract', 'Delivery note', 'Flyer', 'job7']);
  const { name, bytes } = await downloaded(page, button(page, 'Download Flyer.jpg'));
  assert.equal(name, 'Flyer.jpg');
  assert.ok(bytes.equals(fs.readFileSync(spool(samples, '_PUBLIC/Flyer.jpg'))));

  await follow(page, link(page, 'Delete Flyer'));
  await follow(page, link(page, 'Cancel'));
  await follow(page, link(page, 'Delete Flyer'));
  assert.ok(fs.existsSync(spool(device.data, '_PUBLIC/Flyer.KTP')));
  await follow(page, button(page, 'Delete'));
  await page.locator('.notice', { hasText: 'Flyer' }).waitFor();
  assert.deepEqual(await shown(page, '.job h2'), ['Contract', 'Delivery note', 'job7']);
  assert.deepEqual(fs.readdirSync(spool(device.data, '_PUBLIC')).sort(), [
    'Contract.KTP', 'Contract.pdf', 'Delivery note', 'job7.d',
  ]);
  assert.deepEqual(page.faults, []);
});

test('a protected job asks for its password before it is opened, downloaded or deleted', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  assert.deepEqual(await job(page, 'job7').allInnerTexts(), ['job7\nneeds its password\n\nOpen\nDelete']);
  await follow(page, link(page, 'Open job7'));
  await enterJobPassword(page, 'Blue heron');
  assert.deepEqual(await shown(page, '.error'), ['This job password is not right. Try again.']);
  assert.equal(await page.getByLabel('Job password').inputValue(), '');
  await enterJobPassword(page, 'blue heron');
  assert.deepEqual(await shown(page, '.job h2'), ['job7']);
  assert.deepEqual(await shown(page, '.file .name'), ['job7.pdf']);

  await follow(page, link(page, 'Download job7.pdf'));
  await enterJobPassword(page, 'blue heron');
  const { name, bytes } = await downloaded(page, button(page, 'Download'));
  assert.equal(name, 'job7.pdf');
  assert.ok(bytes.equals(fs.readFileSync(spool(samples, '_PUBLIC/job7.d/job7.pdf'))));
  await follow(page, button(page, 'Download'));
  assert.equal(new URL(page.url()).pathname, '/mailbox/action.php');

  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  await follow(page, link(page, 'Delete job7'));
  await enterJobPassword(page, 'blue heron');
  assert.deepEqual(await shown(page, 'h1'), ['Delete job7']);
  assert.ok(fs.existsSync(spool(device.data, '_PUBLIC/job7.d')));
  await follow(page, button(page, 'Delete'));
  await page.locator('.notice', { hasText: 'job7' }).waitFor();
  assert.deepEqual(await shown(page, '.job h2'), ['Contract', 'Delivery note', 'Flyer']);
  assert.ok(!fs.existsSync(spool(device.data, '_PUBLIC/job7.d')));
});

test('the password of one job that lies flat opens no other', async (t) => {
  const device = await startMailbox(t, (data) => {
    const contract = fs.readFileSync(spool(data, '_PUBLIC/Contract.KTP'), 'utf8');
    fs.writeFileSync(spool(data, '_PUBLIC/Will.KTP'), contract.replace('grey seal', 'black swan'));
    fs.writeFileSync(spool(data, '_PUBLIC/Will.pdf'), '%PDF-1.4');
  });
  const page = await device.visit();
  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  await follow(page, link(page, 'Open Contract'));
  await enterJobPassword(page, 'black swan');
  assert.deepEqual(await shown(page, '.error'), ['This job password is not right. Try again.']);
  await enterJobPassword(page, 'grey seal');
  assert.deepEqual(await job(page, 'Contract').locator('.name').allInnerTexts(), ['Contract.pdf']);
  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  assert.deepEqual(await job(page, 'Will').locator('.name').allInnerTexts(), []);
  assert.deepEqual(await job(page, 'Will').locator('small').allInnerTexts(), ['needs its password']);
});

test('names and passwords with the signs of PHP and HTML stay data', async (t) => {
  const signs = `a'b"c $x {$y} <b> #%;?+ é`;
  const password = `'"\\$x{$y}<?= 1 ?>`;
  const device = await startMailbox(t, (data) => {
    const template = path.join(data, 'pool/mailbox', `${signs}.KTP`);
    fs.cpSync(path.join(data, 'pool/mailbox/reception.KTP'), template);
    fs.cpSync(template, path.join(data, 'pool/mailbox/fish & chips.KTP'));
    const directory = spool(data, `${signs}/${signs}.d`);
    fs.cpSync(spool(data, '_PUBLIC/job7.d'), directory, { recursive: true });
    const log = fs.readFileSync(path.join(directory, 'job7.KTP'), 'utf8');
    const escaped = password.replaceAll('\\', '\\\\');
    const changed = log.replace('blue heron', () => escaped);
    fs.writeFileSync(path.join(directory, `${signs}.KTP`), changed);
    fs.rmSync(path.join(directory, 'job7.KTP'));
    fs.renameSync(path.join(directory, 'job7.pdf'), path.join(directory, `${signs}.pdf`));
  });
  const page = await device.visit();
  await device.open(page, '');
  assert.deepEqual(await shown(page, '.folders li:has(> .name)'), [
    'fish & chips\nThis name cannot be opened in a browser.',
  ]);
  await follow(page, link(page, signs));
  assert.deepEqual(await shown(page, 'h1, h2'), [signs, signs]);
  await follow(page, link(page, `Open ${signs}`));
  await enterJobPassword(page, password);
  assert.deepEqual(await shown(page, '.file .name'), [`${signs}.pdf`]);
  await follow(page, link(page, `Download ${signs}.pdf`));
  await enterJobPassword(page, password);
  const { bytes } = await downloaded(page, button(page, 'Download'));
  assert.ok(bytes.equals(fs.readFileSync(spool(samples, '_PUBLIC/job7.d/job7.pdf'))));
  await device.open(page, 'folder.php', { name: signs });
  await follow(page, link(page, `Delete ${signs}`));
  await enterJobPassword(page, password);
  await follow(page, button(page, 'Delete'));
  assert.deepEqual(fs.readdirSync(spool(device.data, signs)), []);
  assert.deepEqual(page.faults, []);
});

test('a job without a log that the device finds stays locked', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'folder.php', { name: '_PUBLIC' });
  assert.deepEqual(await job(page, 'Delivery note').allInnerTexts(), [
    'Delivery note\nlocked\n\n' +
      'The log of this job is missing or cannot be read. The job stays locked.',
  ]);
});

test('a private folder is opened by its PIN, for one session', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'folder.php', { name: 'anna' });
  assert.equal(new URL(page.url()).pathname, '/mailbox/pin.php');
  await enterPin(page, '2469');
  assert.deepEqual(await shown(page, '.error'), ['This PIN is not right. Try again.']);
  assert.equal(await page.evaluate(() => document.activeElement.id), 'pass');
  await enterPin(page, '2468');
  assert.deepEqual(await shown(page, '.job h2'), ['Application', 'job1', 'job3']);
  for (const scan of ['job1.pdf', 'job1.jpg']) {
    const { bytes } = await downloaded(page, button(page, `Download ${scan}`));
    assert.ok(bytes.equals(fs.readFileSync(spool(samples, `anna/job1.d/${scan}`))), scan);
  }
  await follow(page, link(page, 'All folders'));
  assert.deepEqual(await shown(page, '.folders a'), [
    'Public folder\nopen to everybody',
    'accounts team\nneeds a PIN',
    'anna\nopened by you',
    'reception\nopen to everybody',
  ]);

  const other = await device.visit();
  await device.open(other, 'folder.php', { name: 'anna' });
  assert.equal(new URL(other.url()).pathname, '/mailbox/pin.php');
  await device.open(page, 'folder.php', { name: 'accounts team' });
  assert.equal(new URL(page.url()).pathname, '/mailbox/pin.php');

  await device.open(page, 'folder.php', { name: 'anna' });
  await follow(page, button(page, 'Close the folder'));
  await device.open(page, 'folder.php', { name: 'anna' });
  assert.equal(new URL(page.url()).pathname, '/mailbox/pin.php');
  assert.deepEqual(page.faults, []);
});

test('whoever has opened a folder changes its PIN', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'pin.php', { name: 'anna' });
  await enterPin(page, '2468');
  const change = async (pin, repeat) => {
    await page.getByLabel('New PIN', { exact: true }).fill(pin);
    await page.getByLabel('New PIN again').fill(repeat);
    await follow(page, button(page, 'Change the PIN'));
  };
  await page.locator('summary').click();
  await change('8642', '8643');
  assert.equal((await shown(page, '.reason')).length, 1);
  await change('8642', '8642');
  assert.equal(new URL(page.url()).pathname, '/mailbox/pin.php');
  await enterPin(page, '2468');
  assert.deepEqual(await shown(page, '.error'), ['This PIN is not right. Try again.']);
  await enterPin(page, '8642');
  assert.deepEqual(await shown(page, '.job h2'), ['Application', 'job1', 'job3']);
});

test('a search for a PIN is slowed, and the page says for how long', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit();
  await device.open(page, 'pin.php', { name: 'anna' });
  for (let tries = 0; tries < 30 && (await shown(page, '.reason')).length === 0; tries += 1) {
    await enterPin(page, String(1000 + tries));
  }
  assert.match((await shown(page, '.reason'))[0], /\d+ (second|minute)/);
});

const folderPrompt = /MetaDataPrompt \(string\) = Enter Password for Folder\n/;
const jobPrompt = /MetaDataPrompt \(string\) = Enter Password for Job\n/;
const documentPrompt = /MetaDataPrompt \(string\) = Enter Document Name\n/;

test('the administrator sets and clears the PIN of a folder', async (t) => {
  const device = await startMailbox(t);
  const page = await device.administrator();
  await device.open(page, 'settings.php');
  const reception = page.locator('.folder', { hasText: 'reception' });
  assert.deepEqual(await reception.locator('summary').allInnerTexts(), [
    'reception\nopen to everybody, no jobs',
  ]);
  assert.match(device.read('reception.KTP', 'mailbox'), jobPrompt);
  await reception.locator('summary').click();
  await reception.getByLabel('New PIN', { exact: true }).fill('9753');
  await reception.getByLabel('New PIN again').fill('9753');
  await follow(page, button(reception, 'Set the PIN'));
  await page.locator('.notice', { hasText: 'reception.KTP' }).waitFor();
  assert.match(device.read('reception.KTP', 'mailbox'), folderPrompt);
  assert.doesNotMatch(device.read('reception.KTP', 'mailbox'), jobPrompt);
  assert.match(await reception.locator('summary').innerText(), /private/);

  const visitor = await device.visit();
  await device.open(visitor, 'folder.php', { name: 'reception' });
  await enterPin(visitor, '9753');
  assert.deepEqual(await shown(visitor, '.empty'), ['There are no jobs in this folder.']);

  await reception.locator('summary').click();
  await follow(page, button(reception, 'Clear the PIN'));
  await page.locator('.notice', { hasText: 'reception.KTP' }).waitFor();
  assert.match(device.read('reception.KTP', 'mailbox'), jobPrompt);
  assert.doesNotMatch(device.read('reception.KTP', 'mailbox'), folderPrompt);
});

test('the settings change what the device asks for when somebody scans', async (t) => {
  const device = await startMailbox(t);
  const page = await device.administrator();
  await device.open(page, 'settings.php');
  const choose = async (answers) => {
    for (const [question, answer] of Object.entries(answers)) {
      await page.getByRole('group', { name: question }).getByLabel(answer).check();
    }
    await follow(page, button(page, 'Save the settings'));
  };
  await choose({});
  for (const name of fs.readdirSync(path.join(samples, 'pool/mailbox'))) {
    const sample = fs.readFileSync(path.join(samples, 'pool/mailbox', name), 'utf8');
    assert.equal(device.read(name, 'mailbox'), sample, name);
  }
  assert.match(device.read('anna.KTP', 'mailbox'), folderPrompt);
  await choose({ 'Public folder': 'No', 'Job passwords': 'No', 'PIN when scanning': 'No' });
  assert.ok(!fs.existsSync(device.path('_PUBLIC.KTP', 'mailbox')));
  assert.doesNotMatch(device.read('anna.KTP', 'mailbox'), folderPrompt);
  assert.doesNotMatch(device.read('reception.KTP', 'mailbox'), jobPrompt);
  await choose({ 'Public folder': 'Yes', 'Job passwords': 'Yes', 'PIN when scanning': 'Yes' });
  const notice = await page.locator('.notice').innerText();
  await choose({ 'Public folder': 'Yes' });
  const templates = ['_PUBLIC.KTP', 'anna.KTP', 'reception.KTP'];
  const after = templates.map((name) => device.read(name, 'mailbox'));
  assert.match(after[0], jobPrompt);
  assert.match(after[0], documentPrompt);
  assert.match(after[1], folderPrompt);
  assert.match(after[2], documentPrompt);
  for (const name of templates) assert.match(notice, new RegExp(name.replace('.', '\\.')));
  await choose({ 'Public folder': 'Yes' });
  assert.deepEqual(templates.map((name) => device.read(name, 'mailbox')), after);
  assert.deepEqual(page.faults, []);
});

test('the administrator creates, renames and deletes folders', async (t) => {
  const device = await startMailbox(t);
  const page = await device.administrator();
  await device.open(page, 'settings.php');
  const create = async (name) => {
    await page.getByLabel('Name of the folder', { exact: true }).fill(name);
    await follow(page, button(page, 'Create a folder'));
  };
  await create('a/b');
  assert.equal((await shown(page, '.reason')).length, 1);
  assert.equal(await page.getByLabel('Name of the folder', { exact: true }).inputValue(), 'a/b');
  await create('anna');
  assert.equal((await shown(page, '.reason')).length, 1);
  await create('Käthe & Söhne');
  assert.equal((await shown(page, '.reason')).length, 1);
  await create('Käthe');
  await page.locator('.notice', { hasText: 'Käthe' }).waitFor();
  assert.match(device.read('Käthe.KTP', 'mailbox'), jobPrompt);
  assert.deepEqual(fs.readdirSync(spool(device.data, 'Käthe')), []);

  const folder = (name) => page.locator('.folder', { hasText: name });
  await folder('Käthe').locator('summary').click();
  await folder('Käthe').getByLabel('New name of the folder').fill('Workshop');
  await follow(page, button(folder('Käthe'), 'Rename'));
  await page.locator('.notice', { hasText: 'Workshop' }).waitFor();
  assert.ok(fs.existsSync(spool(device.data, 'Workshop')));
  assert.ok(!fs.existsSync(device.path('Käthe.KTP', 'mailbox')));

  fs.cpSync(spool(samples, 'anna/job1.d'), spool(device.data, 'Workshop/job1.d'), { recursive: true });
  await device.open(page, 'settings.php');
  await folder('Workshop').locator('summary').click();
  assert.match(await folder('Workshop').locator('summary').innerText(), /1 job$/);
  await folder('Workshop').getByLabel('Delete all jobs of the folder too').check();
  await follow(page, button(folder('Workshop'), 'Delete the folder'));
  await page.locator('.notice', { hasText: 'Workshop' }).waitFor();
  assert.ok(!fs.existsSync(spool(device.data, 'Workshop')));
  assert.ok(!fs.existsSync(device.path('Workshop.KTP', 'mailbox')));
});

test('without scripts every step of the way works', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit({ javaScriptEnabled: false });
  await device.open(page, 'pin.php', { name: 'anna' });
  await enterPin(page, '2468');
  assert.match(await page.locator('time').first().innerText(), /^\d{4}-\d\d-\d\d \d\d:\d\d UTC$/);
  await follow(page, link(page, 'Open Application'));
  await enterJobPassword(page, 'red kite');
  assert.deepEqual(await shown(page, '.file .name'), ['Application.tif']);
});

test('the mailbox speaks the language of the browser', async (t) => {
  const device = await startMailbox(t);
  const page = await device.visit({ locale: 'de-DE', timezoneId: 'Europe/Berlin' });
  await device.open(page, 'pin.php', { name: 'anna' });
  assert.deepEqual(await shown(page, 'h1'), ['Ordner anna öffnen']);
  await page.getByLabel('PIN des Ordners').fill('2468');
  await follow(page, button(page, 'Öffnen'));
  assert.match(await page.locator('time').first().innerText(), /^\d\d\.\d\d\.\d{4}, \d\d:\d\d$/);
});

test('every mailbox page keeps its looks: widths, dark mode, no fault for anybody', async (t) => {
  const device = await startMailbox(t);
  const looks = [
    { viewport: { width: 360, height: 800 }, colorScheme: 'light' },
    { viewport: { width: 1280, height: 800 }, colorScheme: 'dark' },
  ];
  for (const look of looks) {
    const page = await device.administrator(look);
    const judge = async (what) => {
      const shot = process.env.PLATEN_SCREENSHOTS;
      const size = `${what} ${look.viewport.width}`;
      if (shot) await page.screenshot({ path: path.join(shot, `${size}.png`), fullPage: true });
      await checkLooks(page, size);
    };
    await device.open(page, '');
    await judge('folders');
    await device.open(page, 'pin.php', { name: 'anna', msg: 'tryagn' });
    await judge('pin');
    await enterPin(page, '2468');
    await page.locator('summary').click();
    await judge('private folder');
    await device.open(page, 'folder.php', { name: '_PUBLIC' });
    await judge('public folder');
    await device.open(page, 'folder.php', { name: 'reception' });
    await judge('empty folder');
    const fields = { name: '_PUBLIC', subf: 'job7.d', file: 'job7.KTP', action: 'opn' };
    await device.open(page, 'action.php', { ...fields, msg: 'tryagn' });
    await judge('job password');
    await enterJobPassword(page, 'blue heron');
    await judge('opened job');
    await device.open(page, 'do_action.php', { name: '_PUBLIC', subf: '', file: 'Flyer.KTP', action: 'del' });
    await judge('deletion');
    await device.open(page, 'settings.php');
    await page.locator('summary', { hasText: 'anna' }).click();
    await judge('settings');
    await follow(page, button(page, 'Save the settings'));
    await judge('settings saved');
    assert.deepEqual(page.faults, []);
    await page.context().close();
  }
});
