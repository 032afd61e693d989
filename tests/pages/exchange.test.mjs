// Restoring factory templates, uploads and downloads, in a real browser over the sample device.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { checkLooks, follow, shown, startDevice } from './device.mjs';

const factory = '/tmp/template/pool/factory';

/** Looks at pages in both languages and widths, in the visitor's context. */
async function checkBothWidths(page, what) {
  for (const width of [390, 1280]) {
    await page.setViewportSize({ width, height: 900 });
    await checkLooks(page, `${what}, ${width} px`);
    const shots = process.env.PLATEN_SHOTS;
    if (shots) await page.screenshot({ path: path.join(shots, `${what}-${width}.png`), fullPage: true });
  }
}

test('the administrator compares a factory template with the one in use and restores it', async (t) => {
  const device = await startDevice(t, (data) => {
    const pool = path.join(data, 'pool');
    const shipped = fs.readFileSync(path.join(pool, 'factory/EMAIL.KTP'), 'utf8');
    fs.writeFileSync(path.join(pool, 'system/EMAIL.KTP'), shipped.replace('Scan to e-mail', 'Mail <b>'));
  });
  const page = await device.administrator();
  await page.goto(device.url('pool.html', { TemplateDir: factory }));
  await follow(page, page.getByRole('link', { name: 'Compare and restore' }));
  const states = await shown(page, '#templates li');
  assert.ok(states.some((text) => /^EMAIL\s+System: changed · Mailbox: not there$/.test(text)), states.join('|'));
  assert.ok(states.some((text) => /^NETWORK\s+System: not there · Mailbox: not there$/.test(text)), states.join('|'));
  await follow(page, page.getByRole('link', { name: 'EMAIL', exact: true }));
  await page.locator('table.difference').waitFor();
  await checkBothWidths(page, 'restore');
  await follow(page, page.getByRole('button', { name: 'Restore' }));
  await page.getByText('There is a template "EMAIL.KTP" already.').waitFor();
  await page.getByLabel('Replace the template of that name').check();
  await follow(page, page.getByRole('button', { name: 'Restore' }));
  await page.locator('.notice', { hasText: '"EMAIL.KTP" is restored from the factory pool.' }).waitFor();
  assert.ok(!device.read('EMAIL.KTP', 'system').includes('Mail <b>'));
  await page.goto(device.url('restore.html'));
  assert.ok((await shown(page, '#templates li')).some((text) => /^EMAIL\s+System: as shipped · /.test(text)));
  assert.deepEqual(page.faults.filter((fault) => !fault.includes('409')), []);
});

test('a factory template is compared with the template of the chosen pool and name', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.url('restore.html', { ParserFilename: `${factory}/MAILBOX.KTP` }));
  assert.deepEqual(await shown(page, '#used'), ['/tmp/template/pool/system/MAILBOX.KTP']);
  await page.getByText('There is no such template yet.').waitFor();
  assert.equal(await page.locator('#compare').isVisible(), false);
  await page.getByLabel('Pool', { exact: true }).selectOption({ label: 'Mailbox' });
  await page.getByLabel('Restore as').fill('anna');
  await follow(page, page.getByRole('link', { name: 'Compare with that template' }));
  await page.locator('table.difference').waitFor();
  assert.deepEqual(await shown(page, '#used'), ['/tmp/template/pool/mailbox/anna.KTP']);
  assert.equal(await page.getByLabel('Restore as').inputValue(), 'anna');
  assert.equal(await page.locator('#compare').isVisible(), false);
  await checkBothWidths(page, 'restore-mailbox');
  await page.getByLabel('Replace the template of that name').check();
  await follow(page, page.getByRole('button', { name: 'Restore' }));
  await page.locator('.notice', { hasText: '"anna.KTP" is restored from the factory pool.' }).waitFor();
  assert.deepEqual(page.faults, []);
});

test('the default template is shown as protected, without a button', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.url('restore.html', { ParserFilename: `${factory}/default.ktp` }));
  await page.locator('#protected').waitFor();
  assert.equal(await page.locator('#restore').isVisible(), false);
  await follow(page, page.getByRole('button', { name: 'Deutsch' }));
  await page.locator('#protected', { hasText: 'Dies ist die Standardvorlage' }).waitFor();
  await checkBothWidths(page, 'protected-german');
  await page.goto(device.url('restore.html', { ParserFilename: `${factory}/EMAIL.KTP` }));
  await page.locator('#restore').waitFor();
  await checkBothWidths(page, 'restore-german');
  await page.goto(device.url('upload.html'));
  await checkBothWidths(page, 'upload-german');
});

test('a template is kept as a file, uploaded again, and refused with its line where it is broken', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('template', 'Colour scan.KTP'));
  const [kept] = await Promise.all([page.waitForEvent('download'), page.getByRole('link', { name: 'Download' }).click()]);
  assert.equal(kept.suggestedFilename(), 'Colour scan.KTP');
  const bytes = fs.readFileSync(await kept.path());
  assert.deepEqual(bytes, fs.readFileSync(device.path('Colour scan.KTP')));

  await page.goto(device.url('pool.html', { TemplateDir: '/tmp/template/pool/system' }));
  await follow(page, page.getByRole('link', { name: 'Upload a template' }));
  assert.equal(await page.getByLabel('Pool').inputValue(), 'system');
  await page.getByRole('button', { name: 'Upload' }).click();
  await page.locator('#problems li').nth(1).waitFor();
  const file = page.getByLabel('File, at most 4 MiB');
  await file.setInputFiles({ name: 'Mine.KTP', mimeType: 'application/octet-stream', buffer: Buffer.from('[service a]\nwrong') });
  assert.equal(await page.getByLabel('Name on this device').inputValue(), 'Mine');
  await checkBothWidths(page, 'upload');
  await follow(page, page.getByRole('button', { name: 'Upload' }));
  await page.getByText('The file is no template: Mine.KTP:2:1:').waitFor();
  assert.equal(await page.getByLabel('Name on this device').inputValue(), 'Mine');
  assert.equal(await page.getByLabel('Pool').inputValue(), 'system');
  await file.setInputFiles({ name: 'Mine.KTP', mimeType: 'application/octet-stream', buffer: bytes });
  await follow(page, page.getByRole('button', { name: 'Upload' }));
  await page.locator('.notice', { hasText: '"Mine.KTP" is uploaded.' }).waitFor();
  assert.deepEqual(fs.readFileSync(device.path('Mine.KTP', 'system')), bytes);
  await page.goto(device.url('upload.html'));
  await file.setInputFiles({ name: 'Big.KTP', mimeType: 'application/octet-stream', buffer: Buffer.alloc(4 * 1024 * 1024 + 1) });
  await page.getByRole('button', { name: 'Upload' }).click();
  await page.locator('#problems', { hasText: 'larger than 4 MiB' }).waitFor();
  assert.deepEqual(page.faults.filter((fault) => !fault.includes('422')), []);
});

test('nobody uploads or restores without a login', async (t) => {
  const device = await startDevice(t);
  const page = await device.visit();
  for (const name of ['upload.html', 'restore.html']) {
    await page.goto(device.url(name));
    assert.match(page.url(), /\/login\.html\?NextPage=/);
  }
});
