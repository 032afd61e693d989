// Whole templates in the pages: lists, copies, new names, deletion, a full disk, and the looks.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { checkLooks, field, follow, pool, samples, save, shown, startDevice } from './device.mjs';
import { templateFile } from './template_file.mjs';

const sampleCount = (folder) => fs.readdirSync(path.join(samples, 'pool', folder)).length;

const colour = 'Colour scan.KTP';
const count = (page) => page.locator('#count').innerText();
const names = (page) => shown(page, '#templates .name');

test('a list is sorted, filtered as one types, and hides what scan drivers made', async (t) => {
  const device = await startDevice(t, (data) => {
    for (const name of ['Scan 10.KTP', 'scan 9.ktp', 'Ärzte.KTP']) {
      fs.writeFileSync(path.join(data, 'pool/web', name), '');
    }
    fs.writeFileSync(Buffer.from(`${data}/pool/web/by\xfftes.KTP`, 'latin1'), '');
  });
  const page = await device.visit();
  await page.goto(device.url('pool.html', { TemplateDir: pool }));
  const listed = await names(page);
  const order = ['Anna\\Bert', 'Ärzte', 'Broken', 'scan 9', 'Scan 10', 'The "quick" scan'];
  assert.deepEqual(
    listed.filter((name) => order.includes(name)),
    order,
  );
  assert.equal(listed.includes('WIA driver'), false);
  const all = sampleCount('web') + 4;
  assert.equal(await count(page), `${all - 2} of ${all} templates`);
  assert.deepEqual(await shown(page, '#templates small'), [
    'This name holds bytes that no page can ask for.',
  ]);
  await page.getByLabel('Show templates of scan drivers').check();
  assert.equal(await count(page), `${all} of ${all} templates`);
  await page.getByLabel('Filter by name').fill('DRIVER');
  assert.deepEqual(await names(page), ['TWAIN driver', 'WIA driver']);
  assert.equal(await count(page), `2 of ${all} templates`);
  await follow(page, page.getByRole('link', { name: 'Factory' }));
  assert.deepEqual(await shown(page, 'h1'), ['Factory']);
  assert.deepEqual(await shown(page, '#templates li:first-child .actions'), ['Copy']);
  assert.deepEqual(page.faults, []);
});

test('a list of 10,000 templates can be filtered', async (t) => {
  const device = await startDevice(t, (data) => {
    for (let i = 0; i < 10000; ++i) {
      fs.writeFileSync(path.join(data, 'pool/mailbox', `box ${i}.KTP`), '');
    }
  });
  const page = await device.visit();
  const response = await page.goto(
    device.url('pool.html', { TemplateDir: '/tmp/template/pool/mailbox' }),
  );
  assert.equal(response.status(), 200);
  const all = sampleCount('mailbox') + 10000;
  assert.equal(await count(page), `${all} of ${all} templates`);
  await page.getByLabel('Filter by name').fill('box 9999');
  assert.deepEqual(await names(page), ['box 9999']);
});

test('a template is copied, renamed and deleted', async (t) => {
  const device = await startDevice(t);
  const before = device.read(colour);
  const page = await device.administrator();
  await page.goto(device.url('pool.html', { TemplateDir: pool }));
  await follow(page, page.getByRole('link', { name: 'Copy Colour scan' }));
  assert.equal(await field(page, 'Name of the copy').inputValue(), 'Colour scan copy');
  await field(page, 'Name of the copy').fill('a/b');
  await page.getByRole('button', { name: 'Copy' }).click();
  assert.match((await shown(page, '.error'))[0], /^Leave out slashes/);
  await field(page, 'Name of the copy').fill('Posters & "more"');
  await follow(page, page.getByRole('button', { name: 'Copy' }));
  assert.deepEqual(await shown(page, '.notice'), ['Copied to "Posters & "more".KTP".']);
  const renamed = before.replace('= Colour scan\n', '= Posters & "more".KTP\n');
  assert.equal(device.read('Posters & "more".KTP'), renamed);

  await follow(page, page.getByRole('link', { name: 'Rename Posters & "more"' }));
  await field(page, 'New name').fill('Mono archive');
  await follow(page, page.getByRole('button', { name: 'Rename' }));
  assert.match(
    (await shown(page, '.reason'))[0],
    /^There is a template "Mono archive.KTP" already/,
  );
  assert.equal(await field(page, 'New name').inputValue(), 'Mono archive');
  await field(page, 'New name').fill('Posters');
  await follow(page, page.getByRole('button', { name: 'Rename' }));
  await page.getByRole('link', { name: 'Edit Posters' }).waitFor();
  assert.equal(fs.existsSync(device.path('Posters & "more".KTP')), false);
  assert.match(device.read('Posters.KTP'), /= Posters.KTP\n/);

  await follow(page, page.getByRole('link', { name: 'Delete Posters' }));
  assert.deepEqual(await shown(page, 'h1'), ['Delete Posters.KTP?']);
  await follow(page, page.getByRole('link', { name: 'Cancel' }));
  await follow(page, page.getByRole('link', { name: 'Delete Posters' }));
  await follow(page, page.getByRole('button', { name: 'Delete' }));
  assert.deepEqual(await shown(page, '.notice'), ['"Posters.KTP" is deleted.']);
  assert.equal(fs.existsSync(device.path('Posters.KTP')), false);
  assert.equal((await names(page)).includes('Posters'), false);
  assert.equal(device.read(colour), before);
});

test('a copy onto an existing name asks first', async (t) => {
  const device = await startDevice(t);
  const anna = device.read('anna.KTP', 'mailbox');
  const page = await device.administrator();
  await page.goto(device.templateUrl('copy', colour));
  await field(page, 'Name of the copy').fill('anna');
  await field(page, 'Pool').selectOption('Mailbox');
  assert.equal(await page.getByLabel('Replace the template of that name').isVisible(), false);
  await follow(page, page.getByRole('button', { name: 'Copy' }));
  assert.match((await shown(page, '.reason'))[0], /^There is a template "anna.KTP" already/);
  assert.equal(device.read('anna.KTP', 'mailbox'), anna);
  assert.equal(await field(page, 'Pool').inputValue(), '/tmp/template/pool/mailbox');
  await page.getByLabel('Replace the template of that name').check();
  await follow(page, page.getByRole('button', { name: 'Copy' }));
  assert.deepEqual(await shown(page, '.notice'), ['Copied to "anna.KTP".']);
  assert.match(device.read('anna.KTP', 'mailbox'), /Brochures and photos/);
});

test('a broken template can be deleted from its own page', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('template', 'Broken.KTP'));
  assert.deepEqual(await shown(page, '.actions a'), ['View', 'History', 'Download', 'Delete']);
  await follow(page, page.getByRole('link', { name: 'Delete' }));
  await follow(page, page.getByRole('button', { name: 'Delete' }));
  assert.equal(fs.existsSync(device.path('Broken.KTP')), false);
});

/** Mounts a small file system over `directory`; false when that is not allowed here. */
function mountSmallDisk(directory) {
  try {
    execFileSync('mount', ['-t', 'tmpfs', '-o', 'size=64k', 'tmpfs', directory], { stdio: 'pipe' });
    return true;
  } catch {
    return false;
  }
}

/** Writes into `directory` until nothing more fits. */
function fill(directory) {
  const file = fs.openSync(path.join(directory, 'filler'), 'w');
  const write = () => {
    for (;;) fs.writeSync(file, Buffer.alloc(4096));
  };
  assert.throws(write, { code: 'ENOSPC' });
  fs.closeSync(file);
}

async function saveOnFullDisk(device) {
  const before = device.read(colour);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', colour));
  fill(device.path(''));
  await field(page, 'Description').fill('x'.repeat(5000));
  assert.equal(await save(page), 500);
  assert.match((await shown(page, '.reason'))[0], /No space left on device/);
  assert.equal(device.read(colour), before);
  fs.rmSync(device.path('filler'));
  assert.equal(await save(page), 303);
  assert.match(device.read(colour), /= x{5000}\n/);
}

test('a full disk leaves the template as it was and keeps what was typed', async (t) => {
  let disk;
  const device = await startDevice(t, (data) => {
    const web = path.join(data, 'pool/web');
    const text = fs.readFileSync(path.join(web, colour));
    if (!mountSmallDisk(web)) return;
    disk = web;
    fs.writeFileSync(path.join(web, colour), text);
  });
  if (disk === undefined) {
    t.skip('a small disk cannot be mounted here');
    return;
  }
  try {
    await saveOnFullDisk(device);
  } finally {
    execFileSync('umount', ['-l', disk]);
  }
});

test('accounts are added, reset and disabled, and each may do what its role allows', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await follow(page, page.getByRole('link', { name: 'Accounts' }));
  await field(page, 'Name').fill('bad|name');
  await follow(page, page.getByRole('button', { name: 'Add an account' }));
  assert.notDeepEqual(await shown(page, '.reason'), []);
  assert.equal(await field(page, 'Name').inputValue(), 'bad|name');
  await field(page, 'Name').fill('bert');
  await follow(page, page.getByRole('button', { name: 'Add an account' }));
  const [notice] = await shown(page, '.notice');
  const secret = notice.match(/Its password is (\S+) /)[1];
  assert.deepEqual(await shown(page, '#accounts tr:nth-child(2) :is(th, td):not(.actions)'), [
    'bert',
    'User',
    'Has to change the password',
  ]);
  await page.reload();
  assert.deepEqual(await shown(page, '.notice'), []);

  const bert = await device.user('bert', secret);
  const system = '/tmp/template/pool/system';
  await bert.goto(device.templateUrl('edit', 'Copy shop.KTP', system));
  assert.match((await shown(bert, '.notice'))[0], /^You may not change this template itself/);
  await bert.goto(device.url('pool.html', { TemplateDir: system }));
  assert.deepEqual(await shown(bert, '#templates .actions'), ['Copy', 'Copy']);
  assert.equal(await bert.getByRole('link', { name: 'Accounts' }).count(), 0);

  await follow(page, page.getByRole('button', { name: 'Disable: bert' }));
  assert.equal(await page.getByRole('button', { name: 'Enable: bert' }).count(), 1);
  await bert.goto(device.templateUrl('edit', colour));
  assert.deepEqual(await shown(bert, 'h1'), ['Log in']);
});

const LOOKS = [
  [360, 'dark', 'English'],
  [1280, 'light', 'English'],
  [360, 'light', 'Deutsch'],
];

/** Brings the editor into the state in which it shows all that it can show. */
async function showEverything(page) {
  await field(page, 'Description').fill('NULL');
  await page.getByRole('button', { name: 'Remove: User data' }).click();
  await page.getByRole('button', { name: 'Add another entry' }).last().click();
  await page.getByText('Save as a copy').click();
  await page.getByText('Add a service').click();
  await page.getByRole('button', { name: 'Save', exact: true }).click();
}

test('every page fits phone and desktop, is accessible, and reports no error', async (t) => {
  const device = await startDevice(t, (data) => {
    const long = 'long'.repeat(50);
    const values = { a: [Buffer.from([0xff])], b: ['1', '2,3', '4'], [long]: [long] };
    const text = templateFile({ [long]: { [long]: values } });
    fs.writeFileSync(path.join(data, 'pool/web/Odd.KTP'), text);
  });
  const views = {
    start: device.url('index.html'),
    login: device.url('login.html'),
    list: device.url('pool.html', { TemplateDir: pool }),
    template: device.templateUrl('template', colour),
    odd: device.templateUrl('edit', 'Odd.KTP'),
    empty: device.templateUrl('edit', 'Empty.KTP'),
    copy: device.templateUrl('copy', colour),
    rename: device.templateUrl('rename', colour),
    delete: device.templateUrl('delete', colour),
    password: device.url('password.html'),
    accounts: device.url('accounts.html'),
    edit: device.templateUrl('edit', colour),
  };
  for (const [width, colorScheme, language] of LOOKS) {
    const page = await device.administrator({ viewport: { width, height: 800 }, colorScheme });
    if (language !== 'English') {
      await follow(page, page.getByRole('button', { name: language }));
    }
    for (const [name, address] of Object.entries(views)) {
      await page.goto(address);
      await checkLooks(page, `${name}, ${width} px, ${colorScheme}, ${language}`);
    }
    if (language === 'English') {
      await showEverything(page);
      await checkLooks(page, `problems, ${width} px, ${colorScheme}`);
    }
    assert.deepEqual(page.faults, []);
    await page.context().close();
  }
});
