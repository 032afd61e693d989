// The device's own pages with the sample device, as people see them.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import test from 'node:test';

import { source, startPlatend, temporaryDirectory } from '../host/platend.mjs';
import { openBrowser, openPage } from './browser.mjs';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const pages = path.join(source, 'pages');
const samples = path.join(source, 'samples');
const pools = {
  '/tmp/template/pool': 'pool',
  '/tmp/template/pool/web': 'pool/web',
  '/tmp/template/pool/mailbox': 'pool/mailbox',
  '/tmp/template/pool/system': 'pool/system',
  '/tmp/template/pool/factory': 'pool/factory',
};
const templates = Object.entries(pools).flatMap(([pool, folder]) =>
  fs
    .readdirSync(path.join(samples, folder))
    .filter((name) => name.toUpperCase().endsWith('.KTP'))
    .map((name) => `${pool}/${name}`),
);
const templatePage = (template) => `template.html?ParserFilename=${encodeURIComponent(template)}`;
const colour = templatePage('/tmp/template/pool/web/Colour scan.KTP');
const views = {
  'the start page': '',
  'a template': colour,
  'a list of numbers': templatePage('/tmp/template/pool/web/Phone book.KTP'),
  'a broken template': templatePage('/tmp/template/pool/web/Broken.KTP'),
  'an empty template': templatePage('/tmp/template/pool/web/Empty.KTP'),
  'no template': 'template.html',
};
const notFound = 'Failed to load resource: the server responded with a status of 404 (Not Found)';

// The words of a page that a person sees, by the place's selector.
const shown = (page, selector) => page.locator(selector).allInnerTexts();

// The template page runs its second script before it is complete.
async function show(page, address) {
  const response = await page.goto(address);
  if (response.status() === 200 && address.includes('ParserFilename=')) {
    await page.locator('#everything').waitFor();
  }
  return response;
}

test('the sample device in a browser', async (t) => {
  const data = path.join(temporaryDirectory(t), 'data');
  fs.cpSync(samples, data, { recursive: true });
  const platend = await startPlatend(t, { pages, data });
  const browser = await openBrowser(t);
  const url = (view) => platend.address + view;

  await t.test('the start page leads to every template, and each opens', async () => {
    const page = await openPage(browser);
    const hrefs = (selector) =>
      page.locator(selector).evaluateAll((nodes) => nodes.map((node) => node.href));
    await page.goto(url(''));
    const links = [];
    for (const list of await hrefs('main a')) {
      await page.goto(list);
      links.push(...(await hrefs('#templates .name')));
    }
    const linked = links.map((link) => new URL(link).searchParams.get('ParserFilename'));
    assert.deepEqual(linked.sort(), [...templates].sort());
    for (const link of links) {
      const response = await show(page, link);
      assert.equal(response.status(), link.includes('Broken') ? 404 : 200, link);
    }
    assert.deepEqual(page.faults, [notFound]);
  });

  await t.test('a template shows its attributes as text', async () => {
    const page = await openPage(browser);
    await show(page, url(colour));
    assert.equal(await page.title(), 'Colour scan · Platen');
    assert.deepEqual(await shown(page, 'h1:visible'), ['Colour scan']);
    assert.deepEqual(await shown(page, '#path'), ['/tmp/template/pool/web/Colour scan.KTP']);
    const value = async (attribute) => (await shown(page, `[data-attribute="${attribute}"] dd`))[0];
    assert.equal(await value('JobTemplateCreator'), 'WEB');
    assert.equal(await value('KLVDefinitionUsed'), '13');
    assert.equal(await value('DocumentFormat'), 'PDF,JPEG,TIFF');
    assert.equal(await value('PhoneNumber'), '+49 30 555,1;+1 212 555 0100');
    assert.equal(
      await value('UserData'),
      '"Fish & Chips" <b>5 > 3</b> in C:\\scans\\new, O\'Brien',
    );
    assert.deepEqual(page.faults, []);
  });

  await t.test('a template shows the same values as text, script and JSON', async () => {
    const page = await openPage(browser);
    await show(page, url(colour));
    const verdicts = await shown(page, '#ways tbody th span');
    assert.equal(verdicts.length, 9);
    verdicts.forEach((verdict) => assert.equal(verdict, 'All three are the same'));
    const row = page.locator('#ways tr', { hasText: 'Keywords' });
    const [text, script, json] = await row.locator('td').all();
    assert.equal(await text.innerText(), 'marketing,print, web,spring 2026');
    assert.equal(await script.innerText(), 'marketing,print, web,spring 2026');
    assert.deepEqual(await json.locator('li').allInnerTexts(), [
      'marketing', 'print, web', 'spring 2026',
    ]);
  });

  await t.test('a template lists every invocation of its file', async () => {
    const page = await openPage(browser);
    await show(page, url(templatePage('/tmp/template/pool/web/Filing destinations.KTP')));
    assert.deepEqual(await shown(page, '#everything h3'), [
      'qvn_svc_general', 'qvn_document', 'qvn_svc_file',
    ]);
    assert.deepEqual(await shown(page, '#everything h4'), [
      'qvn_svc_general_1', 'qvn_document_1', 'Originals', 'Accounts', 'Off site',
    ]);
    assert.deepEqual(await shown(page, '#everything dt >> nth=0'), [
      'JobTemplateName\nstring, compulsory',
    ]);
  });

  await t.test('the query chooses another invocation', async () => {
    const page = await openPage(browser);
    const filing = templatePage('/tmp/template/pool/web/Filing destinations.KTP');
    await show(page, url(`${filing}&InvocationName=Accounts`));
    assert.deepEqual(await shown(page, '[data-attribute="FilingProtocol"] dd'), ['FTP']);
  });

  for (const [kind, template] of Object.entries({
    broken: '/tmp/template/pool/web/Broken.KTP',
    missing: '/tmp/template/pool/web/No such <b>.KTP',
  })) {
    await t.test(`a ${kind} template is said to be unavailable`, async () => {
      const page = await openPage(browser);
      const response = await page.goto(url(templatePage(template)));
      assert.equal(response.status(), 404);
      assert.deepEqual(await shown(page, '[role="alert"]'), [`Template not available : ${template}`]);
      assert.deepEqual(await shown(page, 'h1:visible'), ['This template cannot be opened']);
      assert.deepEqual(await shown(page, 'article:visible'), []);
      assert.deepEqual(page.faults, [notFound]);
    });
  }

  await t.test('the log names the line of the fault', async () => {
    await platend.logged(/ \/tmp\/template\/pool\/web\/Broken\.KTP:7:5: this is no line of the form/);
  });

  await t.test('an empty template and no template are told apart', async () => {
    const page = await openPage(browser);
    await show(page, url(views['an empty template']));
    assert.deepEqual(await shown(page, 'h1:visible'), ['Template without a name']);
    assert.deepEqual(await shown(page, '.notice:visible'), ['This template is empty.']);
    await page.goto(url(views['no template']));
    assert.deepEqual(await shown(page, 'h1:visible'), ['No template chosen']);
    assert.deepEqual(await shown(page, 'article:visible'), []);
    assert.deepEqual(page.faults, []);
  });

  await t.test('without scripts the attributes are there and the rest is explained', async () => {
    const page = await openPage(browser, { javaScriptEnabled: false });
    await page.goto(url(colour));
    assert.deepEqual(await shown(page, '[data-attribute="DocumentName"] dd'), ['Brochure']);
    assert.deepEqual(await shown(page, '.notice:visible'), [
      'The rest of this page needs a browser that runs scripts.',
    ]);
    assert.deepEqual(await shown(page, 'h2:visible'), ['General', 'Document', 'Fax', 'Filing']);
  });

  await t.test('the pages speak the language of the browser', async () => {
    const page = await openPage(browser, { locale: 'de-AT' });
    await page.goto(url(''));
    assert.equal(await page.getAttribute('html', 'lang'), 'de-de');
    assert.deepEqual(await shown(page, 'h1'), ['Scanvorlagen']);
    await show(page, url(colour));
    assert.deepEqual(await shown(page, '#ways tbody th span >> nth=0'), ['Alle drei sind gleich']);
  });

  await t.test('every page keeps its looks: widths, dark mode, no serious fault for anybody', async () => {
    for (const [name, view] of Object.entries(views)) {
      const backgrounds = [];
      for (const [width, colorScheme] of [[360, 'light'], [1280, 'dark']]) {
        const what = `${name}, ${width} px, ${colorScheme}`;
        const page = await openPage(browser, { viewport: { width, height: 800 }, colorScheme });
        await show(page, url(view));
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width, what);
        backgrounds.push(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
        await page.evaluate(axe);
        const { violations } = await page.evaluate(() => globalThis.axe.run());
        assert.deepEqual(violations.map(({ id, nodes }) => [id, nodes[0].html]), [], what);
        await page.context().close();
      }
      assert.deepEqual(backgrounds, ['rgb(245, 247, 247)', 'rgb(17, 24, 26)'], name);
    }
  });

  await t.test('the keyboard reaches the content at once', async () => {
    const page = await openPage(browser);
    await page.goto(url(''));
    await page.keyboard.press('Tab');
    assert.equal(await page.evaluate(() => document.activeElement.className), 'skip');
    assert.ok((await page.locator('.skip').boundingBox()).width > 40);
    await page.keyboard.press('Enter');
    assert.equal(new URL(page.url()).hash, '#content');
  });
});
