// The pages of metadata fields and filing destinations as people use them.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {
  checkLooks,
  choosePassword,
  field,
  follow,
  logIn,
  password,
  save,
  saveDone,
  shown,
  startDevice,
} from './device.mjs';
import { templateFile } from './template_file.mjs';

const invoices = 'Invoices.KTP';
const filing = 'Filing destinations.KTP';
const factory = '/tmp/template/pool/factory';

/** The lines of an invocation in the text of a template, without blanks around them. */
function linesOf(text, invocation) {
  const lines = text.split('\n').map((line) => line.trim());
  const rest = lines.slice(lines.indexOf(`[invocation ${invocation}]`) + 1);
  const end = rest.findIndex((line) => line.startsWith('[') || line === '');
  return rest.slice(0, end < 0 ? rest.length : end);
}

const card = (page, name) => page.getByRole('region', { name, exact: true });
const add = (page) => page.locator('#add').click();

/** Goes on with the Tab key to the control of that label. */
async function tabTo(page, label) {
  const wanted = await field(page, label).elementHandle();
  for (let i = 0; i < 100; ++i) {
    if (await wanted.evaluate((control) => control === document.activeElement)) return;
    await page.keyboard.press('Tab');
  }
  assert.fail(`the Tab key does not reach ${label}`);
}

test('metadata fields are added, changed and removed by keyboard, and previewed', async (t) => {
  const device = await startDevice(t);
  const before = device.read(invoices);
  const page = await device.administrator();
  await page.goto(device.templateUrl('metadata', invoices));
  assert.deepEqual(await shown(page, '#preview .prompt'), [
    'Invoice number required',
    'Supplier\'s name, as "printed"',
    'Release code required',
    'Cost centre, or project & task required',
  ]);
  assert.deepEqual(await page.locator('#preview .typing').allTextContents(), [
    '2026/',
    '',
    '••••hidden text',
    '',
  ]);
  assert.deepEqual(await shown(page, '#preview small'), [
    'what is typed is validated',
    'what is typed is hidden',
  ]);

  await tabTo(page, 'Prompt 2');
  await page.keyboard.type('Supplier');
  assert.equal((await shown(page, '#preview .prompt'))[1], 'Supplier');
  await tabTo(page, 'Entry required 2');
  await page.keyboard.press('Space');
  assert.equal((await shown(page, '#preview .prompt'))[1], 'Supplier required');
  await tabTo(page, 'Masking 2');
  await page.keyboard.press('End');
  await tabTo(page, 'Validation 2');
  await page.keyboard.press('Space');
  assert.equal(
    (await shown(page, '#preview li:nth-child(2) small'))[0],
    'what is typed is hidden · what is typed is validated',
  );
  await page.getByRole('button', { name: 'Remove: Invoice number' }).click();
  assert.deepEqual(await shown(page, '#preview .prompt >> nth=0'), ['Supplier required']);
  await page.keyboard.press('Enter');
  assert.equal((await shown(page, '#preview .prompt')).length, 4);
  await page.keyboard.press('Enter');

  for (const [row, prompt, name] of [
    [5, 'Who?', 'WHO'],
    [6, '</script>"&<b>😀', 'ODD, NAME & MORE'],
  ]) {
    await page.getByRole('button', { name: 'Add a field' }).focus();
    await page.keyboard.press('Enter');
    await page.keyboard.type(prompt);
    await tabTo(page, `Field name ${row}`);
    await page.keyboard.type(name);
  }
  await field(page, 'Default value 6').fill("a, 'b' & c");
  await saveDone(page);

  const text = device.read(invoices);
  assert.ok(text.startsWith(before.slice(0, before.indexOf('  [invocation Number]'))));
  assert.doesNotMatch(text, /\[invocation Number\]/);
  assert.deepEqual(linesOf(text, 'Supplier'), [
    'MetaDataPrompt (string) = Supplier',
    'MetaDataFieldName (string) = SUPPLIER',
    'MetaDataRequiredEntry (boolean) = TRUE',
    'MetaDataType (string) = string',
    'MetaDataMaskingRequired (enum_metadatamaskingrequired) = MASK_AND_OMIT',
    'MetaDataValidationRequired (boolean) = TRUE',
  ]);
  assert.deepEqual(linesOf(text, 'qvn_dscrpt_metadata_1').slice(3), [
    'MetaDataPrompt (string) = Who?',
    'MetaDataFieldName (string) = WHO',
  ]);
  assert.deepEqual(linesOf(text, 'qvn_dscrpt_metadata_2'), [
    'MetaDataRequiredEntry (boolean) = FALSE',
    'MetaDataMaskingRequired (enum_metadatamaskingrequired) = NO_MASK',
    'MetaDataValidationRequired (boolean) = FALSE',
    'MetaDataPrompt (string) = </script>"&<b>😀',
    'MetaDataFieldName (string) = ODD, NAME & MORE',
    "MetaDataDefaultValue (string) = a, 'b' & c",
  ]);
  assert.equal((await shown(page, '#preview .prompt')).at(-1), '</script>"&<b>😀');
  assert.deepEqual(page.faults, []);
});

test('a metadata field needs its prompt and its name', async (t) => {
  const device = await startDevice(t);
  const before = device.read(invoices);
  const page = await device.administrator();
  await page.goto(device.templateUrl('metadata', invoices));
  await add(page);
  await field(page, 'Prompt 1').fill('');
  await field(page, 'Default value 2').fill('NULL');
  await page.getByRole('button', { name: 'Save', exact: true }).click();
  assert.deepEqual(await shown(page, '#problems a'), [
    'Default value 2: The word NULL alone stands for no text; write it differently.',
    'Prompt 1: Fill this in.',
    'Prompt 5: Fill this in.',
    'Field name 5: Fill this in.',
  ]);
  assert.equal(device.read(invoices), before);
  await page.getByRole('button', { name: 'Discard: Field 5' }).click();
  await page.getByRole('button', { name: 'Discard changes' }).click();
  assert.equal(await field(page, 'Prompt 1').inputValue(), 'Invoice number');
  assert.deepEqual(await shown(page, '#count'), ['No changes']);
});

test('destinations are added, changed and removed; commas and "&" are kept', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('destinations', filing));
  assert.deepEqual(await shown(page, '.entry h2'), ['Contracts', 'Accounts & payroll', 'Off site']);
  assert.deepEqual(await shown(page, '.address'), [
    'Scans go to smb://files.example.com/contracts/contracts/originals',
    'Scans go to ftp://ftp.example.com/in/invoices, 2026',
    'Scans go to https://backup.example.net/backup/contracts',
  ]);
  const accounts = card(page, 'Accounts & payroll');
  await field(accounts, 'Server').fill('a,b&c.example.com');
  await field(accounts, 'Path').fill(' /</script>"\'&amp;, 😀 ');
  await field(accounts, 'Protocol').selectOption('SMB');
  assert.equal(
    await accounts.locator('.address').innerText(),
    'Scans go to smb://a,b&c.example.com/ /</script>"\'&amp;, 😀',
  );
  assert.ok((await accounts.innerText()).includes('Name of the share on the server.'));
  await page.getByRole('button', { name: 'Remove: Contracts' }).click();
  for (const server of ['first.example.com', 'second.example.com']) {
    await add(page);
    const added = page.locator('.entry').last();
    assert.equal(
      await added.locator('.address').innerText(),
      'No server is set: nothing is filed here.',
    );
    await field(added, 'Server').fill(server);
    await field(added, 'Destination').fill(`The ${server}`);
  }
  const second = card(page, 'The second.example.com');
  await field(second, 'If the file exists').selectOption('Replace the file');
  await saveDone(page);

  const text = device.read(filing);
  assert.deepEqual(linesOf(text, 'Accounts').slice(1), [
    'DocumentPath (string) = \\x20/</script>"\'&amp;, 😀\\x20',
    'DocumentFilingPolicy (enum_filing_policy) = NEW_AUTO_GENERATE',
    'FilingProtocol (enum_filing_protocol) = SMB',
    'RepositoryAlias (string) = Accounts & payroll',
    'LoginName (string) = accounts',
    'RepositoryName (string) = a,b&c.example.com',
  ]);
  assert.doesNotMatch(text, /\[invocation Originals\]/);
  assert.deepEqual(linesOf(text, 'qvn_svc_file_2'), [
    'FilingProtocol (enum_filing_protocol) = FTP',
    'DocumentFilingPolicy (enum_filing_policy) = OVERWRITE',
    'RepositoryName (string) = second.example.com',
    'RepositoryAlias (string) = The second.example.com',
  ]);
  assert.deepEqual(await shown(page, '.entry h2'), [
    'Accounts & payroll',
    'Off site',
    'The first.example.com',
    'The second.example.com',
  ]);
  assert.equal(await field(accounts, 'Path').inputValue(), ' /</script>"\'&amp;, 😀 ');
  assert.deepEqual(page.faults, []);
});

test('what a page cannot write is shown and stays as it is', async (t) => {
  const device = await startDevice(t);
  const odd = {
    RepositoryName: [Buffer.from([0x61, 0xff])],
    FilingProtocol: ['SFTP'],
    LoginName: ['one', 'two'],
    Password: ['secret'],
    DocumentPath: ['a\r\nb'],
  };
  const entries = { First: odd, 'two\nlines': { DocumentPath: ['x'] } };
  const file = templateFile({ qvn_svc_file: entries });
  device.write('Odd.KTP', file);
  const page = await device.administrator();
  await page.goto(device.templateUrl('destinations', 'Odd.KTP'));
  const first = page.locator('.entry').first();
  assert.equal(await field(first, 'Protocol').inputValue(), 'SFTP');
  assert.equal(await field(first, 'Server').inputValue(), 'a\uFFFD');
  const warning = await first.locator('.warning').innerText();
  assert.match(warning, /^Some bytes of this value are no text/);
  assert.match(
    await first.innerText(),
    /one\s+two\s+This setting holds several values; only the editor changes them\./,
  );
  assert.match(await first.innerText(), /Other settings here: Password\./);
  const last = page.locator('.entry').last();
  assert.equal(await last.locator('input, select, textarea, button').count(), 0);
  await field(first, 'Volume').fill('v');
  await saveDone(page);
  const text = device.read('Odd.KTP');
  assert.ok(text.startsWith(file.slice(0, file.indexOf('[invocation', 60))));
  assert.match(text, /RepositoryVolume \(string\) = v\n/);
});

/** Two people change the server of one destination, and the second of them adds another, too. */
async function conflict(t) {
  const device = await startDevice(t);
  const anna = await device.administrator();
  const bert = await device.administrator();
  for (const page of [anna, bert]) await page.goto(device.templateUrl('destinations', filing));
  await field(card(anna, 'Off site'), 'Server').fill('anna.example.com');
  await field(card(bert, 'Off site'), 'Server').fill('bert.example.com');
  for (const [page, server] of [
    [anna, 'annas.example.com'],
    [bert, 'berts.example.com'],
  ]) {
    await add(page);
    await field(page.locator('.entry').last(), 'Server').fill(server);
  }
  await saveDone(anna);
  assert.equal(await save(bert), 409);
  assert.deepEqual(await shown(bert, '.conflict dd'), ['anna.example.com', 'bert.example.com']);
  assert.deepEqual(await shown(bert, '#problems a'), [
    'Server: Somebody else has changed this meanwhile.',
  ]);
  assert.equal(await field(card(bert, 'Off site'), 'Server').inputValue(), 'bert.example.com');
  assert.deepEqual(await shown(bert, '.template-nav [aria-current]'), ['Destinations']);
  return { device, bert };
}

for (const [choice, server] of [
  ['Keep what I typed', 'bert.example.com'],
  ['Use what is stored', 'anna.example.com'],
]) {
  test(`two people change a destination, and the second says: ${choice}`, async (t) => {
    const { device, bert } = await conflict(t);
    await bert.getByRole('button', { name: choice }).click();
    await saveDone(bert);
    const text = device.read(filing);
    assert.ok(linesOf(text, 'Off site').includes(`RepositoryName (string) = ${server}`), text);
    for (const [name, added] of [
      ['qvn_svc_file_1', 'annas.example.com'],
      ['qvn_svc_file_2', 'berts.example.com'],
    ]) {
      assert.deepEqual(linesOf(text, name), [
        'FilingProtocol (enum_filing_protocol) = FTP',
        'DocumentFilingPolicy (enum_filing_policy) = NEW_AUTO_GENERATE',
        `RepositoryName (string) = ${added}`,
      ]);
    }
  });
}

test('a session that has ended keeps what was typed, new entries too', async (t) => {
  const device = await startDevice(t);
  const before = device.read(invoices);
  const page = await device.administrator();
  await page.goto(device.templateUrl('metadata', invoices));
  await field(page, 'Prompt 2').fill('Who sends it?');
  await add(page);
  await field(page, 'Prompt 5').fill('Why?');
  await field(page, 'Field name 5').fill('WHY');
  const other = await page.context().newPage();
  await other.goto(device.url('index.html'));
  await follow(other, other.getByRole('button', { name: 'Log out' }));

  assert.equal(await save(page), 403);
  await logIn(page, 'admin', password);
  assert.equal(device.read(invoices), before);
  assert.deepEqual(await shown(page, '#preview .prompt'), [
    'Invoice number required',
    'Who sends it?',
    'Release code required',
    'Cost centre, or project & task required',
    'Why?',
  ]);
  await saveDone(page);
  assert.deepEqual(linesOf(device.read(invoices), 'qvn_dscrpt_metadata_1'), [
    'MetaDataRequiredEntry (boolean) = FALSE',
    'MetaDataMaskingRequired (enum_metadatamaskingrequired) = NO_MASK',
    'MetaDataValidationRequired (boolean) = FALSE',
    'MetaDataPrompt (string) = Why?',
    'MetaDataFieldName (string) = WHY',
  ]);
});

test('a template that may not be changed is shown, and its copy is offered', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  await page.goto(device.templateUrl('destinations', 'NETWORK.KTP', factory));
  assert.equal(await field(page, 'Destination').inputValue(), 'Not set up');
  assert.equal(await field(page, 'Destination').isDisabled(), true);
  assert.deepEqual(await shown(page, '#edit button'), []);
  assert.match((await shown(page, '.notice'))[0], /^You may not change this template itself\./);
  await follow(page, page.getByRole('link', { name: 'Copy it and change the copy.' }));
  assert.deepEqual(await shown(page, 'h1'), ['Copy a template']);
});

test('a broken template, no scripts and no login are explained', async (t) => {
  const device = await startDevice(t);
  const page = await device.administrator();
  const state = await page.context().storageState();
  const silent = await device.visit({ javaScriptEnabled: false, storageState: state });
  for (const name of ['metadata', 'destinations']) {
    const response = await page.goto(device.templateUrl(name, 'Broken.KTP'));
    assert.equal(response.status(), 404);
    assert.match((await shown(page, '.reason'))[0], /Broken\.KTP/);
    assert.deepEqual(await shown(page, 'h1'), ['This template cannot be opened']);
    await silent.goto(device.templateUrl(name, filing));
    assert.deepEqual(await shown(silent, 'noscript .notice'), [
      'The editor needs a browser that runs scripts.',
    ]);
    const nobody = await device.visit();
    await nobody.goto(device.templateUrl(name, filing));
    assert.deepEqual(await shown(nobody, 'h1'), ['Log in']);
  }
});

const LOOKS = [
  [390, 'dark', 'English'],
  [1280, 'light', 'English'],
  [390, 'light', 'Deutsch'],
];

test('both pages fit phone and desktop, are accessible, and speak German', async (t) => {
  const device = await startDevice(t, (data) => {
    const long = 'long'.repeat(50);
    const values = { RepositoryName: [long], LoginName: ['1', '2'], [long]: [long] };
    const text = templateFile({ qvn_svc_file: { [long]: values } });
    fs.writeFileSync(path.join(data, 'pool/web/Odd.KTP'), text);
  });
  const views = {
    metadata: device.templateUrl('metadata', invoices),
    'no metadata': device.templateUrl('metadata', filing),
    destinations: device.templateUrl('destinations', filing),
    'no destinations': device.templateUrl('destinations', invoices),
    odd: device.templateUrl('destinations', 'Odd.KTP'),
    factory: device.templateUrl('destinations', 'NETWORK.KTP', factory),
  };
  for (const [width, colorScheme, language] of LOOKS) {
    const page = await device.administrator({ viewport: { width, height: 800 }, colorScheme });
    if (language !== 'English') {
      await follow(page, page.getByRole('button', { name: language }));
      await page.goto(views.destinations);
      assert.deepEqual(await shown(page, 'h1'), ['Ziele: Filing destinations']);
      assert.equal(
        (await shown(page, '.address'))[1],
        'Scans gehen an ftp://ftp.example.com/in/invoices, 2026',
      );
    }
    for (const [name, address] of Object.entries(views)) {
      await page.goto(address);
      await checkLooks(page, `${name}, ${width} px, ${colorScheme}, ${language}`);
      if (name === 'factory') continue;
      for (const _ of [1, 2]) await add(page);
      await page.locator('.entry-remove').first().click();
      await page.locator('#save').click();
      await page.locator('#problems a').first().waitFor();
      await checkLooks(page, `${name} with problems, ${width} px, ${language}`);
      await page.locator('#discard').click();
    }
    assert.deepEqual(page.faults, []);
    await page.context().close();
  }
});

test('a newcomer changes where the scans go within few steps', async (t) => {
  const device = await startDevice(t);
  const page = await device.visit();
  const steps = { loads: 0, clicks: 0 };
  page.on('load', () => (steps.loads += 1));
  const press = async (role, name) => {
    steps.clicks += 1;
    await follow(page, page.getByRole(role, { name, exact: true }));
  };
  await page.goto(device.url(''));
  await press('link', 'Log in');
  steps.clicks += 1;
  await logIn(page, 'admin', await device.firstPassword());
  steps.clicks += 1;
  await choosePassword(page, await device.firstPassword(), password);
  await press('link', 'Web');
  await press('link', 'Filing destinations');
  assert.deepEqual(await shown(page, '[data-summary=destinations] li'), [
    'smb://files.example.com/contracts/contracts/originals',
    'ftp://ftp.example.com/in/invoices, 2026',
    'https://backup.example.net/backup/contracts',
  ]);
  await press('link', 'Details of the destinations');
  await field(card(page, 'Accounts & payroll'), 'Server').fill('new.example.com');
  await press('button', 'Save');
  assert.deepEqual(await shown(page, '.notice'), ['Saved.']);
  assert.equal(
    (await shown(page, '.address'))[1],
    'Scans go to ftp://new.example.com/in/invoices, 2026',
  );
  assert.match(device.read(filing), /RepositoryName \(string\) = new\.example\.com\n/);
  assert.deepEqual(await shown(page, 'h1'), ['Destinations: Filing destinations']);
  assert.ok(steps.loads <= 8 && steps.clicks <= 8, JSON.stringify(steps));
});
