// The audit trail and the status page, as the administrator sees them.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { source } from '../host/platend.mjs';
import { checkLooks, follow, logIn, password, shown, startDevice } from './device.mjs';

const sizes = [
  { width: 390, height: 844 },
  { width: 1280, height: 900 },
];

/** Waits until the rows of the audit trail that the address asks for are there; returns their cells. */
async function entries(device, page, fields = {}) {
  await page.goto(device.url('audit.html', fields));
  await page.locator('#entries:visible, #none:visible').waitFor();
  const rows = await page.locator('#entries tbody tr').all();
  return Promise.all(rows.map((row) => row.locator('td').allInnerTexts()));
}

/** The ids of the workers: programs whose parent is the same program. */
function workersOf(device) {
  const stat = (id) => fs.readFileSync(`/proc/${id}/stat`, 'utf8').match(/\((.*)\) \S (\d+)/).slice(1);
  return device.platend.processes().filter((id) => {
    const [name, parent] = stat(id);
    return name === 'platend' && stat(parent)[0] === 'platend';
  });
}

async function addAccount(device, page, name) {
  await page.goto(device.url('accounts.html'));
  await page.getByLabel('Name').fill(name);
  await follow(page, page.getByRole('button', { name: 'Add an account' }));
  const notice = await page.locator('.notice').first().innerText();
  return notice.match(/password is (\S+)/)[1];
}

test('the audit trail and the status', async (t) => {
  const device = await startDevice(t);
  const admin = await device.administrator();

  await t.test('an account that is added is told, with who did it', async () => {
    device.secret = await addAccount(device, admin, 'anna');
    const [[time, who, action, object, outcome]] = await entries(device, admin);
    assert.match(time, /\d{4}, \d+:\d\d:\d\d/);
    assert.equal(who, 'admin 127.0.0.1');
    assert.equal(action, 'Account added');
    assert.equal(object, 'anna');
    assert.equal(outcome, 'Done');
    assert.deepEqual(admin.faults, []);
  });

  await t.test('a user is refused, and so told', async () => {
    const user = await device.user('anna', device.secret);
    for (const page of ['audit.html', 'status.html', 'download/audit']) {
      assert.equal((await user.goto(device.url(page))).status(), 403, page);
    }
    assert.deepEqual(await shown(user, '.places a'), []);
    await user.goto(device.url(''));
    assert.deepEqual(await shown(user, '.places a'), ['Templates', 'Mailbox']);
    const visitor = await device.visit();
    await visitor.goto(device.url('audit.html', { login: 'anna' }));
    assert.equal(await visitor.locator('h1').innerText(), 'Log in');
    await logIn(visitor, 'admin', password);
    const rows = await visitor.locator('#entries tbody tr').allInnerTexts();
    assert.ok(rows.length > 0 && rows.every((row) => row.includes('anna')), rows.join('\n'));
    const [refused] = await entries(device, admin, { action: '/status.html' });
    assert.equal(refused[2], '/status.html');
    assert.match(refused[4], /^Refused\s+only for administrators/);
  });

  await t.test('the form filters, and says so in the address', async () => {
    await entries(device, admin);
    await admin.locator('#filter-box summary').click();
    await admin.getByLabel('Action').selectOption('Logged in');
    await admin.getByLabel('Outcome').selectOption('Done');
    await admin.getByLabel('From').fill('2020-01-01T10:00');
    await follow(admin, admin.getByRole('button', { name: 'Show' }));
    const query = new URL(admin.url()).searchParams;
    assert.deepEqual([...query.keys()].sort(), ['action', 'from', 'outcome']);
    assert.match(query.get('from'), /^\d{4}-\d\d-\d\dT\d\d:\d\dZ$/);
    assert.equal(await admin.getByLabel('From').inputValue(), '2020-01-01T10:00');
    const actions = await admin.locator('#entries td:nth-child(3)').allInnerTexts();
    assert.deepEqual([...new Set(actions)], ['Logged in']);
    for (const attack of ["' OR '1'='1", '%', '_', '*']) {
      assert.deepEqual(await entries(device, admin, { login: attack }), [], attack);
    }
    assert.equal((await admin.goto(device.url('audit.html', { from: 'now' }))).status(), 400);
  });

  await t.test('the file holds what the filter gives', async () => {
    await entries(device, admin, { action: 'account add' });
    const [download] = await Promise.all([
      admin.waitForEvent('download'),
      admin.locator('#csv').click(),
    ]);
    assert.equal(download.suggestedFilename(), 'audit.csv');
    const text = fs.readFileSync(await download.path(), 'utf8');
    assert.match(
      text,
      /^\uFEFF"time \(UTC\)","login","address","action","object","outcome"\r\n"[\d :-]{19}","admin","127\.0\.0\.1","account add","anna","done"\r\n$/,
    );
  });

  await t.test('a hundred entries are a page', async () => {
    const visitor = await device.visit();
    for (let i = 0; i < 101; ++i) await visitor.request.post(device.url(`page-${i}.html`));
    assert.equal((await entries(device, admin)).length, 100);
    await follow(admin, admin.getByRole('link', { name: 'Older entries' }));
    assert.equal(await admin.locator('#entries tbody tr').first().locator('td').nth(2).innerText(), '/page-0.html');
    assert.deepEqual(await shown(admin, '#older'), []);
    await follow(admin, admin.getByRole('link', { name: 'Newer entries' }));
    assert.equal(await admin.locator('#entries tbody tr').count(), 100);
  });

  await t.test('a broken template is told with line and column, until it is mended', async () => {
    const project = fs.readFileSync(path.join(source, 'CMakeLists.txt'), 'utf8');
    const [, version] = project.match(/project\(platen VERSION (\S+)/);
    await admin.goto(device.url('status.html'));
    assert.equal(await admin.locator('#version').innerText(), version);
    assert.deepEqual(await shown(admin, '#broken-list code'), [
      '/tmp/template/pool/web/Broken.KTP:7:5: this is no line of the form NAME (TYPE) = VALUE',
    ]);
    fs.rmSync(device.path('Broken.KTP'));
    await admin.reload();
    assert.match(await admin.locator('#sound').innerText(), /^All \d+ templates can be opened\.$/);
  });

  await t.test('a worker that is killed is told, with its last log line', async () => {
    await admin.goto(device.url('status.html'));
    const before = await admin.locator('#workers tbody tr td:first-child').allInnerTexts();
    assert.equal(before.length, 2);
    await admin.goto(device.url('template.html', { ParserFilename: '/tmp/template/pool/web/none.KTP' }));
    const workers = workersOf(device);
    assert.equal(workers.length, 2);
    for (const id of workers) process.kill(Number(id), 'SIGKILL');
    await device.platend.logged(/signal 9 \(Killed\)[^]*signal 9 \(Killed\)/);
    await admin.goto(device.url('status.html'));
    assert.equal(await admin.locator('#signal').innerText(), '2');
    const ends = await admin.locator('#ends tbody tr').allInnerTexts();
    assert.equal(ends.length, 2);
    assert.ok(ends.every((end) => end.includes('signal 9 (Killed)')), ends.join('\n'));
    assert.ok(ends.some((end) => end.includes('none.KTP')), ends.join('\n'));
    const after = await admin.locator('#workers tbody tr td:first-child').allInnerTexts();
    assert.ok(after.every((id) => !before.includes(id)), `${before} ${after}`);
  });

  await t.test('both look right on a phone and a desk, in both languages', async () => {
    for (const [locale, colorScheme] of [['en-US', 'light'], ['de-DE', 'dark']]) {
      for (const viewport of sizes) {
        const page = await device.visit({ locale, colorScheme, viewport });
        await page.goto(device.url('login.html'));
        await page.locator('#login-form [name=name]').fill('admin');
        await page.locator('#login-form [name=password]').fill(password);
        await follow(page, page.locator('#login-form .primary'));
        for (const name of ['audit', 'status']) {
          await page.goto(device.url(`${name}.html`));
          await checkLooks(page, `${name} ${locale} ${viewport.width}`);
          assert.deepEqual(await shown(page, '.places [aria-current=page]'), [
            { audit: 'Audit', status: 'Status' }[name],
          ]);
        }
        assert.deepEqual(page.faults, []);
        await page.context().close();
      }
    }
  });
});

test('every form has a name in the audit trail', () => {
  const policy = fs.readFileSync(path.join(source, 'host/policy.cpp'), 'utf8');
  const forms = [...policy.matchAll(/\{"\/(?:form|do)\/([\w-]+)"/g)].map(([, name]) => name);
  const named = fs
    .readFileSync(path.join(source, 'pages/parts/audit-actions.inc'), 'utf8')
    .match(/(?<=value=")[^"]+/g);
  assert.ok(forms.length > 10);
  assert.deepEqual(
    forms.filter((form) => !named.some((name) => name === form || name.startsWith(`${form} `))),
    [],
  );
});
