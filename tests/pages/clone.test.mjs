// The clone page as administrators use it: a file is made on one device and read in on another.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { program, temporaryDirectory } from '../host/platend.mjs';
import { checkLooks, follow, samples, shown, startDevice } from './device.mjs';

const widths = { phone: { width: 390, height: 844 }, desktop: { width: 1280, height: 900 } };

const button = (page, name) => page.getByRole('button', { name, exact: true });
const toggle = (page, name) => page.getByRole('switch', { name });

const setting = (device, key) =>
  execFileSync(program, ['--data', device.data, 'config', 'get', key], { encoding: 'utf8' }).trim();

async function openClone(device, options) {
  const page = await device.administrator(options);
  await page.goto(device.url('clone.html'));
  return page;
}

/** Chooses all, leaves the broken template out, and returns the path of the file. */
async function makeFile(t, page) {
  for (const group of await page.locator('.clone-group > label input').all()) await group.check();
  await follow(page, button(page, 'Download the clone file'));
  assert.deepEqual(await shown(page, '.reason'), [
    'Some templates cannot be cloned. Mend them, or say that they are left out.\n' +
      'Broken.KTP:7:5: this is no line of the form NAME (TYPE) = VALUE',
  ]);
  assert.equal(await page.locator('.clone-groups input:not(:checked)').count(), 0);
  await page.getByLabel('Leave these templates out').check();
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    button(page, 'Download the clone file').click(),
  ]);
  assert.match(download.suggestedFilename(), /^clone-\d{4}-\d\d-\d\d\.json$/);
  const file = path.join(temporaryDirectory(t), 'clone.json');
  await download.saveAs(file);
  return file;
}

async function readIn(page, file, submit = 'Check the file') {
  await page.locator('#file').setInputFiles(file);
  await follow(page, button(page, submit));
}

/** What the summary says of a template or setting: its line and what stands below it. */
const item = (page, name) => page.locator('.clone-items > li', { hasText: name });

test('the groups are switched one by one, and what is not offered is explained', async (t) => {
  const device = await startDevice(t);
  const page = await openClone(device);
  assert.deepEqual(await shown(page, '.clone-group > .box'), [
    'Scan templates', 'Mailbox', 'Network', 'Fax', 'Control panel 3 settings',
  ]);
  assert.deepEqual(await shown(page, '.clone-group li .box'), [
    'Web templates 14 templates', 'System templates 1 template', 'Folders 4 templates',
    'Mailbox settings 1 setting', 'Name in the network 2 settings', 'Date and time 2 settings',
    'Fax station 2 settings', 'Sending 2 settings',
  ]);
  assert.deepEqual(await shown(page, '#left-out li'), [
    '"Finisher" is left out: it is for devices whose setting device.finisher is TRUE.',
  ]);
  await toggle(page, /^Network/).check();
  assert.ok(await toggle(page, /^Date and time/).isChecked());
  await toggle(page, /^Date and time/).uncheck();
  assert.ok(!(await toggle(page, /^Network/).isChecked()));
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    button(page, 'Download the clone file').click(),
  ]);
  const { groups, settings } = JSON.parse(fs.readFileSync(await download.path(), 'utf8'));
  assert.deepEqual(groups, [{ token: 9121, name: 'Network: Name in the network' }]);
  assert.deepEqual(settings.map(({ key }) => key), ['network.domain', 'network.name']);
  assert.deepEqual(page.faults, []);
});

test('a file of one device is read in on another, which shows what it would change', async (t) => {
  const file = await makeFile(t, await openClone(await startDevice(t)));
  const device = await startDevice(t, (data) => {
    fs.rmSync(path.join(data, 'pool/web/Invoices.KTP'));
    fs.rmSync(path.join(data, 'pool/mailbox/reception.KTP'));
    fs.rmSync(path.join(data, 'spool/image_store/s2mailbox/reception'), { recursive: true });
    const book = path.join(data, 'pool/web/Phone book.KTP');
    fs.writeFileSync(book, fs.readFileSync(book, 'utf8').replace('JobTemplateCreator (string) = WEB', 'JobTemplateCreator (string) = ME'));
  });
  execFileSync(program, ['--data', device.data, 'config', 'set', 'panel.volume', '1']);
  const page = await openClone(device);
  await readIn(page, file);
  assert.equal(
    await item(page, 'Invoices.KTP').innerText(),
    'Invoices.KTP new\n\nNot in the file, as it is secret: MetaDataDefaultValue. Fill it in afterwards.',
  );
  assert.match(await item(page, 'reception.KTP').innerText(), /^reception\.KTP new\n+A folder is made for it\./);
  assert.match(await item(page, 'panel.volume').innerText(), /different\s+On this device\s+1\s+In the file\s+4$/);
  assert.match(await item(page, '_PUBLIC.KTP').innerText(), /stays as it is/);
  assert.equal(await item(page, '_PUBLIC.KTP').locator('input').count(), 0);
  await item(page, 'Phone book.KTP').getByText('What is different').click();
  assert.deepEqual(await shown(page, '.difference tbody tr:not(.group) td'), ['ME', 'WEB']);
  assert.equal(device.read('Phone book.KTP').match(/JobTemplateCreator.*/)[0], 'JobTemplateCreator (string) = ME');

  await item(page, 'Phone book.KTP').locator('input').uncheck();
  await follow(page, button(page, 'Take over what is chosen'));
  const [notice] = await shown(page, '.notice');
  assert.match(notice, /^Taken over from the clone file:\n- \S*reception\.KTP\n- \S*Invoices\.KTP\n- panel\.volume\n/);
  const invoices = fs.readFileSync(path.join(samples, 'pool/web/Invoices.KTP'), 'utf8');
  assert.equal(device.read('Invoices.KTP'), invoices.replace(/ *MetaDataDefaultValue .* 4711\n/, ''));
  assert.match(device.read('Phone book.KTP'), /JobTemplateCreator \(string\) = ME/);
  assert.equal(setting(device, 'panel.volume'), '4');
  await page.goto(device.url('mailbox/'));
  assert.ok((await shown(page, '.folders a')).includes('reception\nopen to everybody'));

  await page.goto(device.url('clone.html'));
  await readIn(page, file);
  assert.deepEqual(await shown(page, '.clone-items label'), ['Phone book.KTP different']);
  assert.deepEqual(page.faults, []);
});

test('a file that is refused says why, and one that is kept no longer says so', async (t) => {
  const device = await startDevice(t);
  const page = await openClone(device);
  const file = path.join(temporaryDirectory(t), 'clone.json');
  fs.writeFileSync(file, '{"format": "platen-clone"}');
  await readIn(page, file);
  assert.deepEqual(await shown(page, '.reason'), ['The clone file has no usable "version" in the document.']);
  assert.equal(await page.locator('#file').getAttribute('aria-invalid'), 'true');
  await page.goto(device.url('clone.html', { upload: 'gone' }));
  assert.deepEqual(await shown(page, '.lead'), ['This clone file is kept no longer. Read it in again.']);
  await follow(page, page.getByRole('link', { name: 'Back to cloning' }));
  assert.deepEqual(await shown(page, 'h2'), ['Make a clone file', 'Read in a clone file']);
});

test('the page is German for who reads German', async (t) => {
  const device = await startDevice(t);
  const page = await openClone(device);
  await follow(page, button(page, 'Deutsch'));
  assert.deepEqual(await shown(page, 'h1'), ['Einstellungen klonen']);
  assert.deepEqual(await shown(page, '.clone-group > .box'), [
    'Scanvorlagen', 'Postfach', 'Netzwerk', 'Fax', 'Bedienfeld 3 Einstellungen',
  ]);
  assert.deepEqual(await shown(page, '#left-out li'), [
    '„Finisher“ fehlt: Die Gruppe ist für Geräte, deren Einstellung device.finisher den Wert TRUE hat.',
  ]);
  await follow(page, button(page, 'Klondatei herunterladen'));
  assert.deepEqual(await shown(page, '.reason'), ['Wählen Sie, was geklont werden soll.']);
});

test('the page looks right on phones and desktops', async (t) => {
  const device = await startDevice(t);
  const page = await openClone(device);
  const file = await makeFile(t, page);
  device.write('Phone book.KTP', device.read('Phone book.KTP').replace('Creator (string) = WEB', 'Creator (string) = ME'));
  fs.rmSync(device.path('Invoices.KTP'));
  for (const [name, size] of Object.entries(widths)) {
    await page.setViewportSize(size);
    await page.goto(device.url('clone.html'));
    await checkLooks(page, `the groups on a ${name}`);
    await readIn(page, file);
    await item(page, 'Phone book.KTP').getByText('What is different').click();
    await checkLooks(page, `the summary on a ${name}`);
  }
});
