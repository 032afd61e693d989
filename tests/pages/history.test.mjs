// The history of templates as people use it: who changed what, and the way back.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { checkLooks, field, follow, pool, save, saveDone, shown, startDevice } from './device.mjs';
import { templateFile } from './template_file.mjs';

const colour = 'Colour scan.KTP';
const system = '/tmp/template/pool/system';

const changes = (page) => shown(page, '#changes .change');
const notices = (page) => shown(page, '.notice');
const rows = (page) => shown(page, '.difference tbody tr:not(.group)');

async function describe(device, page, text) {
  await page.goto(device.templateUrl('edit', colour));
  await field(page, 'Description').fill(text);
  await saveDone(page);
}

/** Chooses the change of that number, counted from the newest. */
async function choose(page, number) {
  await follow(page, page.locator('#changes a').nth(number));
}

async function newUser(admin, device, name) {
  await admin.goto(device.url('accounts.html'));
  await field(admin, 'Name').fill(name);
  await follow(admin, admin.getByRole('button', { name: 'Add', exact: false }).first());
  const secret = /Its password is (\S+)/.exec(await admin.locator('.notice').innerText())[1];
  return device.user(name, secret);
}

/** Presses the button of the form and returns the status of the answer. */
async function bringBack(page, name = 'Bring this back') {
  const [answer] = await Promise.all([
    page.waitForResponse((response) => response.request().method() === 'POST'),
    follow(page, page.getByRole('button', { name })),
  ]);
  return answer.status();
}

test('two people change a template, and each step is seen, undone and done again', async (t) => {
  const device = await startDevice(t);
  const admin = await device.administrator();
  const berta = await newUser(admin, device, 'berta');
  const first = device.read(colour);

  await admin.goto(device.templateUrl('history', colour));
  assert.deepEqual(await notices(admin), [
    'Nothing is kept yet. From the next change on, what the template held before it is kept here.',
  ]);
  await describe(device, admin, 'of the admin');
  const second = device.read(colour);
  await describe(device, berta, 'of Berta');
  const third = device.read(colour);

  await berta.goto(device.templateUrl('template', colour));
  await follow(berta, berta.getByRole('link', { name: 'History' }));
  assert.deepEqual(await changes(berta), ['Saved by berta', 'Saved by admin']);
  const time = await berta.locator('#changes time').first().getAttribute('datetime');
  assert.ok(Math.abs(Date.parse(time) - Date.now()) < 600_000, time);

  await choose(berta, 1);
  const [row] = await rows(berta);
  assert.match(row, /^JobTemplateDescription\s*changed/);
  assert.match(row, /of Berta$/);
  assert.equal(await berta.locator('#shown td').nth(1).innerText(), 'of Berta');
  assert.equal(await bringBack(berta), 303);
  assert.equal(device.read(colour), first);
  assert.deepEqual(await notices(berta), [
    '"Colour scan.KTP" holds again what it held before. What it held until now is kept as its ' +
      'newest version, so that this can be undone.',
  ]);

  assert.deepEqual(await changes(berta), ['Replaced by berta', 'Saved by berta', 'Saved by admin']);
  await choose(berta, 0);
  assert.equal(await bringBack(berta), 303);
  assert.equal(device.read(colour), third);
  await choose(berta, 2);
  assert.equal(await bringBack(berta), 303);
  assert.equal(device.read(colour), second);
  assert.deepEqual(berta.faults, []);
});

test('a template that changed meanwhile is left alone and the new difference is shown', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  const first = device.read(colour);
  await describe(device, page, 'one');
  await page.goto(device.templateUrl('history', colour));
  await choose(page, 0);
  const other = first.replace(/(JobTemplateDescription \(string\) = ).*/, '$1of somebody else');
  device.write(colour, other);
  assert.equal(await bringBack(page), 409);
  assert.equal(device.read(colour), other);
  assert.deepEqual(await shown(page, '.reason'), [
    'Somebody else has changed "Colour scan.KTP" meanwhile. Look at the difference to what it ' +
      'holds now, and press the button again to bring this back.',
  ]);
  assert.match((await rows(page))[0], /of somebody else$/);
  assert.equal(await bringBack(page), 303);
  assert.equal(device.read(colour), first);
  assert.deepEqual(page.faults.filter((line) => !line.includes('409')), []);
});

test('a deleted template is found in its pool and made again', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  const first = device.read(colour);
  await page.goto(device.url('pool.html', { TemplateDir: pool }));
  assert.equal(await page.locator('#deleted-templates').isVisible(), false);
  await page.goto(device.templateUrl('delete', colour));
  await follow(page, page.getByRole('button', { name: 'Delete' }));
  assert.equal(fs.existsSync(device.path(colour)), false);

  await page.locator('#deleted-templates summary').click();
  assert.match((await shown(page, '#deleted-templates li'))[0], /^Colour scan\s*Deleted by admin /);
  await follow(page, page.locator('#deleted-templates a'));
  assert.deepEqual(await notices(page), [
    'This template is deleted. Choose a change to make it again.',
  ]);
  assert.deepEqual(await shown(page, '.template-nav .actions a'), ['History']);
  await choose(page, 0);

  // Its name is taken meanwhile.
  device.write(colour, '');
  assert.equal(await bringBack(page, 'Make the template again'), 409);
  assert.equal(device.read(colour), '');
  assert.equal(await bringBack(page), 303);
  assert.equal(device.read(colour), first);
  assert.deepEqual(await changes(page), ['Replaced by admin', 'Deleted by admin']);

  const visitor = await device.visit();
  await page.goto(device.templateUrl('delete', colour));
  await follow(page, page.getByRole('button', { name: 'Delete' }));
  await visitor.goto(device.url('pool.html', { TemplateDir: pool }));
  assert.equal(await visitor.locator('#deleted-templates').isVisible(), false);
});

test('a broken template is brought back to what it held', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  const first = device.read(colour);
  await describe(device, page, 'one');
  device.write(colour, `${first}\nno line of a template\n`);
  await page.goto(device.templateUrl('history', colour));
  await choose(page, 0);
  const line = first.split('\n').length + 1;
  const [fault] = await shown(page, '#shown .reason');
  assert.ok(fault.startsWith(`${pool}/${colour}:${line}:1: `), fault);
  assert.equal(await bringBack(page), 303);
  assert.equal(device.read(colour), first);
});

test('what everybody uses is brought back by administrators only', async (t) => {
  const device = await startDevice(t);
  const admin = await device.administrator();
  const berta = await newUser(admin, device, 'berta');
  const first = device.read('default.ktp', 'system');
  await admin.goto(device.templateUrl('edit', 'default.ktp', system));
  await field(admin, 'Description').fill('changed');
  assert.equal(await save(admin), 303);
  await berta.goto(device.templateUrl('history', 'default.ktp', system));
  await choose(berta, 0);
  assert.deepEqual(await shown(berta, '#denied'), ['Only an administrator may bring this back.']);
  assert.equal(await berta.locator('#bring-back').isVisible(), false);
  await admin.goto(device.templateUrl('history', 'default.ktp', system));
  await choose(admin, 0);
  assert.equal(await bringBack(admin), 303);
  assert.equal(device.read('default.ktp', 'system'), first);
});

test('whatever versions hold stays data', async (t) => {
  const hostile = [
    '</script><script>globalThis.broken = 1</script>',
    '<!--#reason-->',
    '"><img src=x onerror="globalThis.broken = 1">',
    "\\' ${1} `",
    'line\nfeed\r\n',
    '\u2028',
    '',
  ];
  const name = '<b>"&\'.KTP';
  const content = (values) =>
    templateFile({ [hostile[0]]: { [hostile[2]]: { [hostile[3]]: values, same: ['x'] } } });
  const device = await startDevice(t, (data) => {
    fs.writeFileSync(path.join(data, 'pool/web', name), content(hostile));
    fs.writeFileSync(path.join(data, 'pool/web', 'other.KTP'), content([...hostile].reverse()));
  });
  const page = await device.administrator();
  await page.goto(device.templateUrl('copy', 'other.KTP'));
  await field(page, 'Name of the copy').fill(name);
  await follow(page, page.getByRole('button', { name: 'Copy', exact: true }));
  await page.getByLabel('Replace', { exact: false }).check();
  await follow(page, page.getByRole('button', { name: 'Copy', exact: true }));
  await page.goto(device.templateUrl('history', name));
  assert.deepEqual(await changes(page), ['Saved by admin', 'Replaced by admin']);
  await choose(page, 1);
  const held = await page.evaluate(() => ({
    group: document.querySelector('.difference tbody:first-of-type .group th').textContent,
    name: document.querySelector('.difference tbody tr:not(.group) th').firstChild.textContent,
    cells: [...document.querySelectorAll('.difference tbody:first-of-type td')].map((cell) =>
      [...cell.querySelectorAll('li')].map((item) => item.textContent),
    ),
    foreign: document.querySelectorAll('#shown :is(script, img, b)').length,
    broken: globalThis.broken,
  }));
  assert.equal(held.group, hostile[0] + hostile[2]);
  assert.equal(held.name, hostile[3]);
  assert.deepEqual(held.cells, [hostile, [...hostile].reverse()]);
  assert.equal(held.foreign, 0);
  assert.equal(held.broken, undefined);
  assert.equal(await bringBack(page), 303);
  assert.equal(device.read(name), content(hostile));
});

test('the history looks right on every screen and in every language', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await describe(device, page, 'A longer description of what this template is good for, and whom');
  await describe(device, page, 'Another one');
  for (const language of ['English', 'Deutsch']) {
    await page.goto(device.templateUrl('history', colour));
    if (language === 'Deutsch')
      await follow(page, page.getByRole('button', { name: language }));
    for (const [width, height] of [
      [390, 844],
      [1280, 800],
    ]) {
      await page.setViewportSize({ width, height });
      for (const colorScheme of ['light', 'dark']) {
        await page.emulateMedia({ colorScheme });
        const what = `${language} ${width} ${colorScheme}`;
        await page.goto(device.templateUrl('history', colour));
        await checkLooks(page, what);
        await choose(page, 1);
        await checkLooks(page, what);
      }
    }
  }
  const german = (await changes(page))[0];
  assert.equal(german, 'Gespeichert von admin');
});
