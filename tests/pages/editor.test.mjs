// The template editor as people use it: what they do in the pages ends up in the file.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import test from 'node:test';

import {
  choosePassword,
  field,
  follow,
  logIn,
  password,
  pool,
  save,
  saveDone,
  shown,
  startDevice,
} from './device.mjs';
import { templateFile } from './template_file.mjs';

const colour = 'Colour scan.KTP';

test('a newcomer goes from the first login to an edit that is in the file', async (t) => {
  const device = await startDevice(t);
  const before = device.read(colour);
  const page = await device.visit();
  await page.goto(device.url('index.html'));
  await follow(page, page.getByRole('link', { name: 'Web', exact: true }));
  await follow(page, page.getByRole('link', { name: 'Edit Colour scan' }));

  await logIn(page, 'admin', 'not the password');
  assert.deepEqual(await shown(page, '.reason'), [
    'The name or the password is not right. Type both again.',
  ]);
  assert.equal(await field(page, 'Name').inputValue(), 'admin');
  assert.equal(await field(page, 'Password').inputValue(), '');
  await logIn(page, 'admin', await device.firstPassword());

  assert.deepEqual(await shown(page, 'h1'), ['Change your password']);
  await page.goto(device.templateUrl('edit', colour));
  assert.deepEqual(await shown(page, 'h1'), ['Change your password']);
  await choosePassword(page, await device.firstPassword(), password);
  assert.deepEqual(await shown(page, '.notice'), ['Your password is changed.']);

  await page.goto(device.templateUrl('edit', colour));
  await field(page, 'Description').fill('Posters, 100 % "colour" <b>');
  assert.deepEqual(await shown(page, '#count'), ['1 change, not saved yet']);
  await saveDone(page);
  assert.equal(await field(page, 'Description').inputValue(), 'Posters, 100 % "colour" <b>');
  const description = /(JobTemplateDescription \(string\) = ).*/;
  const after = before.replace(description, '$1Posters, 100 % "colour" <b>');
  assert.equal(device.read(colour), after);
  assert.notEqual(after, before);

  await follow(page, page.getByRole('button', { name: 'Log out' }));
  await page.goto(device.templateUrl('edit', colour));
  assert.deepEqual(await shown(page, 'h1'), ['Log in']);
});

test('each kind of field is written as it is shown', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', colour));
  await page.getByRole('button', { name: 'Remove File formats 2' }).click();
  await page.getByRole('button', { name: 'Add a value: File formats' }).click();
  await page.keyboard.type('PDF_A');
  await page.getByRole('button', { name: 'Remove marketing' }).click();
  await page.getByRole('button', { name: 'Add a number: Phone numbers' }).click();
  await page.keyboard.type('0,040 "1"');
  await page.getByRole('button', { name: 'Several lines: User data' }).click();
  await field(page, 'User data').fill('first\nsecond, third\n');
  await page.getByRole('button', { name: 'Remove: Sharpness' }).click();
  await saveDone(page);

  const text = device.read(colour);
  const lines = (name) => text.match(new RegExp(`${name} \\(.*\\)(?:( = .*)|(?:\\n +=.*)+)`))[0];
  const values = (name) => [...lines(name).matchAll(/ = (.*)/g)].map(([, value]) => value);
  assert.deepEqual(values('DocumentFormat'), ['PDF', 'TIFF', 'PDF_A']);
  assert.deepEqual(values('Keywords'), ['print, web', 'spring 2026']);
  assert.deepEqual(values('PhoneNumber'), ['+49 30 555,1', '+1 212 555 0100', '0,040 "1"']);
  assert.deepEqual(values('UserData'), ['first\\nsecond, third\\n']);
  assert.doesNotMatch(text, /Sharpness/);
  assert.match(text, /# A comma inside a value: only the page's JSON keeps these apart\./);

  await page.getByRole('button', { name: 'Remove Phone numbers 3' }).click();
  await page.getByRole('button', { name: 'Remove Phone numbers 2' }).click();
  await page.getByRole('button', { name: 'Remove Phone numbers 1' }).click();
  await saveDone(page);
  assert.doesNotMatch(device.read(colour), /PhoneNumber/);
});

test('a switch and a required mark survive an edit', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', 'Mono archive.KTP'));
  await page.getByLabel('Searchable text', { exact: true }).uncheck();
  await field(page, 'Document name').fill('Letters');
  await saveDone(page);
  const text = device.read('Mono archive.KTP');
  assert.match(text, /SearchableText \(boolean\) = FALSE\n/);
  assert.match(text, /DocumentName \(string, compulsory\) = Letters\n/);
});

test('fields, entries and services come and go', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', 'Filing destinations.KTP'));
  const filing = page.locator('.service', { hasText: 'qvn_svc_file' });
  await filing.getByRole('button', { name: 'Remove this entry: Accounts' }).click();
  await filing.getByRole('button', { name: 'Add another entry' }).click();
  await page.keyboard.type('DocumentPath');
  await page.keyboard.press('Enter');
  await page.keyboard.type('/new');
  await page.getByText('Add a service').click();
  await page.getByLabel('Name of the service').fill('qvn_dscrpt_metadata');
  await page.keyboard.press('Enter');
  for (const [name, value] of [
    ['MetaDataPrompt', 'Who?'],
    ['MetaDataFieldName', 'WHO'],
  ]) {
    const metadata = page.locator('.service', { hasText: 'qvn_dscrpt_metadata' });
    const add = metadata.locator('details');
    if (!(await add.evaluate((part) => part.open))) await add.locator('summary').click();
    await metadata.getByLabel('Name', { exact: true }).fill(name);
    await page.keyboard.press('Enter');
    await page.keyboard.type(value);
  }
  await saveDone(page);
  const text = device.read('Filing destinations.KTP');
  assert.doesNotMatch(text, /\[invocation Accounts\]/);
  assert.match(text, /\[invocation \S*qvn_svc_file\S*\]\n +DocumentPath \(string\) = \/new\n/);
  const metadata = text.slice(text.indexOf('[service qvn_dscrpt_metadata]'));
  const lines = metadata.split('\n').map((line) => line.trim());
  assert.match(lines[1], /^\[invocation .+\]$/);
  assert.deepEqual(lines.slice(2), [
    'MetaDataPrompt (string) = Who?',
    'MetaDataFieldName (string) = WHO',
    '',
  ]);
});

test('what the device would take for something else is refused beside its field', async (t) => {
  const device = await startDevice(t);
  const before = device.read(colour);
  const page = await device.administrator();
  const posts = [];
  page.on('request', (request) => request.method() === 'POST' && posts.push(request.url()));
  await page.goto(device.templateUrl('edit', colour));
  await field(page, 'Description').fill('NULL');
  await field(page, 'Phone numbers 1').fill('1;2');
  await field(page, 'File formats 2').fill('A,B');
  await field(page, 'File formats 3').fill('');
  await field(page, 'Document name').fill('');
  await page.getByRole('button', { name: 'Save', exact: true }).click();
  const expected = {
    Description: 'The word NULL alone stands for no text; write it differently.',
    'Phone numbers 1': 'A phone number cannot hold a semicolon; use a line for each number.',
    'File formats 2': 'A value of this kind cannot hold a comma; use a line for each value.',
    'File formats 3': 'Fill in this value or take its line away.',
  };
  for (const [label, text] of Object.entries(expected)) {
    const control = field(page, label);
    assert.equal(await control.getAttribute('aria-invalid'), 'true', label);
    const id = await control.getAttribute('aria-describedby');
    assert.equal(await page.locator(`[id="${id.trim()}"]`).innerText(), text);
  }
  assert.equal(await page.evaluate(() => document.activeElement.id), 'problems');
  assert.equal((await shown(page, '#problems li')).length, 4);
  assert.deepEqual(await shown(page, '.warning'), ['This field is required, and it is empty.']);
  await page.locator('#problems a').first().click();
  assert.equal(
    await field(page, 'Description').evaluate((c) => c === document.activeElement),
    true,
  );
  const keywords = page.locator('.field', { hasText: 'Keywords' });
  assert.deepEqual(await keywords.locator('li small').allInnerTexts(), [
    'A value with a comma cannot be taken out singly.',
  ]);
  assert.deepEqual(posts, []);
  assert.equal(device.read(colour), before);
});

const HOSTILE = [
  'a,b;c|d&e=f',
  ' blanks at both ends ',
  '</script><script>document.title = "broken"</script>',
  '"><img src=x onerror=document.title="broken">',
  '<!--#parser fn="HTTP_Parser_Get_fn" arg="a" format="html"-->',
  "\\ \\\\ \\n \\x41 ' ` ${1}",
  '\u2028\u2029\u0001\u001b\u007f\u0085',
  'Grüße, 日本語, العربية, 😀\u202e',
  '# comment',
  '= value',
  'NULL ',
  'two\nlines\n\n',
  '\n\nlines first',
  'x'.repeat(20000),
];

test('whatever is typed comes back as it was typed', async (t) => {
  const device = await startDevice(t);
  const names = HOSTILE.map((_, i) => `v${i}`);
  const attributes = Object.fromEntries(names.map((name) => [name, ['x\ny']]));
  device.write('H.KTP', templateFile({ s: { i: attributes } }));
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', 'H.KTP'));
  for (const [i, value] of HOSTILE.entries()) {
    await page.locator('#services textarea').nth(i).fill(value);
  }
  await saveDone(page);
  const stored = JSON.parse(await page.locator('#template').textContent());
  const values = stored.services[0].invocations[0].attributes.map(({ values }) => values[0]);
  assert.deepEqual(values, HOSTILE);
  assert.equal(await page.title(), 'Edit · Platen');
  assert.deepEqual(page.faults, []);
});

test('stored values of every kind are shown, and stay when they are left alone', async (t) => {
  const device = await startDevice(t);
  const bytes = Buffer.from(Array.from({ length: 255 }, (_, i) => i + 1));
  const file = templateFile({ 's<b>': { 'i"': { 'a\\': [bytes], b: ['x\r\ny\rz'], c: ['1'] } } });
  device.write('H.KTP', file);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', 'H.KTP'));
  assert.match((await shown(page, '.warning')).join(), /^Some bytes of this value are no text/);
  await field(page, 'c').fill('2');
  await saveDone(page);
  assert.ok(device.read('H.KTP').startsWith(file.slice(0, file.lastIndexOf('='))));
  await field(page, 'b').fill('x\nnew\nz');
  await saveDone(page);
  assert.match(device.read('H.KTP'), /= x\\r\\nnew\\r\\nz\n/);
});

test('two people who edit different fields lose nothing', async (t) => {
  const device = await startDevice(t);
  const anna = await device.administrator();
  const bert = await device.administrator();
  for (const page of [anna, bert]) await page.goto(device.templateUrl('edit', colour));
  await field(anna, 'Description').fill('by Anna');
  await field(bert, 'Document name').fill('by Bert');
  await saveDone(anna);
  await saveDone(bert);
  const text = device.read(colour);
  assert.match(text, /JobTemplateDescription \(string\) = by Anna\n/);
  assert.match(text, /DocumentName \(string, compulsory\) = by Bert\n/);
});

/** Two people have typed into the same field, and the second of them is told. */
async function conflict(t) {
  const device = await startDevice(t);
  const anna = await device.administrator();
  const bert = await device.administrator();
  for (const page of [anna, bert]) await page.goto(device.templateUrl('edit', colour));
  await field(anna, 'Description').fill('by Anna');
  await field(bert, 'Description').fill('by Bert');
  await field(bert, 'Document name').fill('Flyer');
  await saveDone(anna);
  assert.equal(await save(bert), 409);
  assert.deepEqual(await shown(bert, '.conflict dd'), ['by Anna', 'by Bert']);
  assert.equal(await field(bert, 'Description').inputValue(), 'by Bert');
  assert.deepEqual(await shown(bert, '#problems a'), [
    'Description: Somebody else has changed this meanwhile.',
  ]);
  assert.match(device.read(colour), /JobTemplateDescription \(string\) = by Anna\n/);
  return { device, bert };
}

const WAYS = [
  ['sends it again', undefined, 'by Bert'],
  ['keeps what was typed', 'Keep what I typed', 'by Bert'],
  ['takes what is stored', 'Use what is stored', 'by Anna'],
];

for (const [way, button, expected] of WAYS) {
  test(`two people edit the same field, and the second ${way}`, async (t) => {
    const { device, bert } = await conflict(t);
    if (button) await bert.getByRole('button', { name: button }).click();
    await saveDone(bert);
    const text = device.read(colour);
    assert.ok(text.includes(`JobTemplateDescription (string) = ${expected}\n`), text);
    assert.match(text, /DocumentName \(string, compulsory\) = Flyer\n/);
  });
}

test('a session that has ended keeps what was typed, and sends nothing by itself', async (t) => {
  const device = await startDevice(t);
  const before = device.read(colour);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', colour));
  await field(page, 'Description').fill('typed before the end');
  await page.getByRole('button', { name: 'Remove marketing' }).click();
  const other = await page.context().newPage();
  await other.goto(device.url('index.html'));
  await follow(other, other.getByRole('button', { name: 'Log out' }));

  assert.equal(await save(page), 403);
  assert.match((await shown(page, '.reason'))[0], /Log in; what you typed is kept/);
  await logIn(page, 'admin', password);
  assert.equal(await field(page, 'Description').inputValue(), 'typed before the end');
  assert.deepEqual(await shown(page, '#count'), ['2 changes, not saved yet']);
  assert.equal(device.read(colour), before);
  await saveDone(page);
  assert.match(device.read(colour), /= typed before the end\n/);
  assert.doesNotMatch(device.read(colour), /marketing\n/);
});

test('unsaved changes are not lost by a stray click', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  const asked = [];
  page.on('dialog', (dialog) => {
    asked.push(dialog.type());
    return dialog.dismiss();
  });
  const edit = device.templateUrl('edit', colour);
  await page.goto(edit);
  await field(page, 'Description').click();
  await page.keyboard.type('more');
  await page.getByRole('link', { name: 'Platen' }).click();
  assert.deepEqual(asked, ['beforeunload']);
  assert.match(await field(page, 'Description').inputValue(), /more/);
  await page.getByRole('button', { name: 'Discard changes' }).click();
  await page.getByRole('link', { name: 'Platen' }).click();
  await page.waitForURL(device.url(''));
  assert.deepEqual(asked, ['beforeunload']);
});

test('changes are saved as a copy, and onto an existing name only when meant', async (t) => {
  const device = await startDevice(t);
  const before = device.read(colour);
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', colour));
  await field(page, 'Description').fill('in the copy');
  await page.getByText('Save as a copy').click();
  await page.getByLabel('Name of the copy').fill('Grey drafts');
  await follow(page, page.getByRole('button', { name: 'Save the copy' }));
  assert.match((await shown(page, '.reason'))[0], /^There is a template "Grey drafts.KTP" already/);
  assert.equal(await field(page, 'Description').inputValue(), 'in the copy');
  await page.getByLabel('Replace the template of that name').check();
  await follow(page, page.getByRole('button', { name: 'Save the copy' }));
  assert.ok(page.url().endsWith(`/edit.html?ParserFilename=${pool}/Grey%20drafts.KTP`));
  assert.match(device.read('Grey drafts.KTP'), /JobTemplateDescription \(string\) = in the copy\n/);
  assert.match(
    device.read('Grey drafts.KTP'),
    /JobTemplateName \(string, compulsory\) = Grey drafts.KTP\n/,
  );
  assert.equal(device.read(colour), before);
});

test('a template that may not be changed is edited into a copy', async (t) => {
  const device = await startDevice(t);
  const before = device.read('EMAIL.KTP', 'factory');
  const page = await device.administrator();
  await page.goto(device.templateUrl('edit', 'EMAIL.KTP', '/tmp/template/pool/factory'));
  assert.equal(await page.getByRole('button', { name: 'Save', exact: true }).count(), 0);
  await field(page, 'Document name').fill('Mine');
  await page.getByLabel('Name of the copy').fill('Mine');
  await follow(page, page.getByRole('button', { name: 'Save the copy' }));
  assert.deepEqual(await shown(page, '.notice'), ['Saved as "Mine.KTP".']);
  assert.match(device.read('Mine.KTP'), /DocumentName \(.*\) = Mine\n/);
  assert.equal(device.read('EMAIL.KTP', 'factory'), before);
  assert.ok(page.url().endsWith(`ParserFilename=${pool}/Mine.KTP`));
});
