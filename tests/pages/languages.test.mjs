// Visitors get pages, refusals and what the module names in their language.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { follow, pages, password, shown, startDevice } from './device.mjs';
import { startPlatend, temporaryDirectory } from '../host/platend.mjs';
import { openBrowser } from './browser.mjs';

const language = (page) => page.getAttribute('html', 'lang');
const button = (page, name) => page.getByRole('button', { name, exact: true });

/** Fills in the login form in German. */
async function logInGerman(page, name, secret) {
  await page.getByLabel('Name').fill(name);
  await page.getByLabel('Passwort', { exact: true }).fill(secret);
  await follow(page, button(page, 'Anmelden'));
}

test('a German visitor is told everything in German, until English is chosen', async (t) => {
  const device = await startDevice(t);
  const admin = await device.administrator();
  await admin.goto(device.url('accounts.html'));
  await admin.getByLabel('Name').fill('anna');
  await follow(admin, button(admin, 'Add an account'));
  const [, secret] = (await admin.locator('.notice').innerText()).match(/Its password is (\S+) and/);

  const page = await device.visit({ locale: 'de-AT' });
  await page.goto(device.url('login.html'));
  assert.equal(await language(page), 'de-de');
  assert.deepEqual(await shown(page, 'h1'), ['Anmelden']);
  await logInGerman(page, 'anna', 'falsch');
  assert.deepEqual(await shown(page, '.reason'), [
    'Der Name oder das Passwort stimmt nicht. Geben Sie beides noch einmal ein.',
  ]);

  await logInGerman(page, 'anna', secret);
  assert.deepEqual(await shown(page, '.notice'), ['Wählen Sie zuerst ein eigenes Passwort.']);
  await page.getByLabel('Bisheriges Passwort').fill(secret);
  await page.getByLabel('Neues Passwort', { exact: true }).fill(password);
  await page.getByLabel('Neues Passwort wiederholen').fill(password);
  await follow(page, button(page, 'Passwort ändern'));
  assert.deepEqual(await shown(page, '.notice'), ['Ihr Passwort ist geändert.']);

  // The form without a field that it needs.
  await page.goto(device.templateUrl('delete', 'Invoices.KTP'));
  await page.evaluate(() => document.querySelector('[name=ParserFilename]').remove());
  await follow(page, page.locator('main form button'));
  assert.deepEqual(await shown(page, '.reason'), [
    'Das Feld „ParserFilename“ fehlt; füllen Sie es aus.',
  ]);
  assert.equal(await language(page), 'de-de');

  const refusals = [
    ['none.html', '404 Nicht gefunden', 'Die Seite /none.html gibt es nicht.'],
    ['accounts.html', '403 Nicht erlaubt', 'Diese Seite ist nur für Administratoren.'],
    ['index.html?x=1', '400 Ungültige Anfrage', 'Das Feld „x“ ist keiner Seite bekannt; lassen Sie es weg.'],
    ['index.html?x=%zz', '400 Ungültige Anfrage', 'Das Feld „x“ enthält die fehlerhafte Prozentangabe „%zz“.'],
  ];
  for (const [address, title, text] of refusals) {
    await page.goto(device.url(address));
    assert.equal(await language(page), 'de-de', address);
    assert.deepEqual(await shown(page, 'h1'), [title], address);
    assert.equal((await shown(page, 'main p'))[0], text, address);
  }

  await page.goto(device.url(''));
  assert.equal(await button(page, 'Deutsch').count(), 0);
  await follow(page, button(page, 'English'));
  assert.equal(await language(page), 'en-us');
  await page.goto(device.url('none.html'));
  assert.equal(await language(page), 'en-us');
  assert.equal((await shown(page, 'main p'))[0], 'There is no page /none.html.');
});

test('a further phrase file is a further language, which the module gets too', async (t) => {
  const directory = temporaryDirectory(t);
  const own = path.join(directory, 'pages');
  fs.cpSync(pages, own, { recursive: true });
  fs.writeFileSync(
    path.join(own, 'phrases/fr-fr.txt'),
    'language.name\tFrançais\n10\tRéseau\nnav.templates\tModèles\nThere is no page {1}.\tPas de page {1}.\n',
  );
  fs.writeFileSync(
    path.join(own, 'groups.html'),
    `<!doctype html><html lang="<!--#phrase id="9998"-->"><head>
    <!--#include file="parts/head.inc"--><title>x</title></head>
    <body><!--#include file="parts/header.inc"-->
    <script type="application/json" id="groups"><!--#parser fn="HTTP_Parser_Clone_fn" format="json"--></script></body></html>`,
  );
  const data = path.join(directory, 'data');
  const write = (name, text) => {
    fs.mkdirSync(path.dirname(path.join(data, name)), { recursive: true });
    fs.writeFileSync(path.join(data, name), text);
  };
  write('etc/paths.txt', 'nc_dlms_data\tdlms\n');
  write('etc/phrases/de-de.txt', '10\tNetz\n');
  write('dlms/clone/data/clone_file_webui', '1,10,\n');
  const platend = await startPlatend(t, { pages: own, data });
  const browser = await openBrowser(t);
  const page = await browser.newPage({ locale: 'de-DE' });
  await page.goto(`${platend.address}groups.html`);
  const groups = () => page.locator('#groups').textContent().then(JSON.parse);
  assert.deepEqual((await groups()).map(({ name }) => name), ['Netz']);
  await follow(page, button(page, 'Français'));
  assert.equal(await language(page), 'fr-fr');
  assert.deepEqual((await groups()).map(({ name }) => name), ['Réseau']);
  assert.equal((await shown(page, '.places a'))[0], 'Modèles');
  await page.goto(`${platend.address}none.html`);
  assert.equal((await shown(page, 'main p'))[0], 'Pas de page /none.html.');
});
