// Whatever a template holds stays data: a page ends up with the stored text and nothing else.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import path from 'node:path';
import test from 'node:test';

import { emptyDevice, startPlatend, temporaryDirectory, writeFiles } from '../host/platend.mjs';
import { openBrowser, openPage } from './browser.mjs';
import { templateFile } from './template_file.mjs';

const bytes = (...list) => Buffer.from(list);
const everyByte = Array.from({ length: 255 }, (_, index) => index + 1);

const values = [
  'plain',
  ' blank at both ends ',
  'NULL',
  'a,b;c|d&e=f',
  '</script><script>globalThis.broken = 1</script>',
  '</SCRIPT ',
  '<!--<script>',
  '--><img src=x onerror="globalThis.broken = 1">',
  '<!--#parser fn="HTTP_Parser_Get_fn" arg="s NULL v0 string" format="html"-->',
  '<!--#reason-->',
  '"><svg onload=globalThis.broken=1>',
  "' autofocus onfocus='globalThis.broken=1",
  '&amp;&lt;&#60;&quot;&nbsp;&NotEqualTilde;',
  '\\',
  '\\\\',
  '\\"',
  "\\'",
  '\\/',
  '\\u0041\\x41\\n\\0\\',
  '";globalThis.broken=1;//',
  "';globalThis.broken=1;//",
  '`${globalThis.broken=1}`',
  '${1}',
  'a/b//c/*d*/',
  '%s%n%d%%',
  '\u2028line\u2029paragraph',
  'line\nfeed\r\nboth\rreturn',
  '\ttab\vvertical\fform\b\u001b\u007f\u0085\u009f',
  '\ufeffmark\ufffe\uffff',
  'Grüße, 日本語, العربية, 😀',
  '\u202eright to left\u2066',
  'javascript:globalThis.broken=1',
  '{{broken}}<%= broken %><?php broken(); ?>',
  ']]>',
  'x'.repeat(20000),
  '"'.repeat(3000),
  bytes(0xff, 0xfe, 0x41),
  bytes(0xc3, 0x28, 0xe2, 0x82, 0x41, 0xf0, 0x9f, 0x98),
  bytes(0xed, 0xa0, 0x80, 0xc0, 0xaf, 0xf8, 0x88, 0x80, 0x80, 0x80),
  bytes(0xc3, 0x22, 0xe2, 0x3c, 0xf0, 0x27),
  bytes(0x41, 0xc3),
  bytes(...everyByte),
  ...everyByte.map((byte) => bytes(byte)),
  ...everyByte.map((byte) => bytes(0x78, byte, 0x79)),
];

// What a browser makes of the stored bytes: the text, with U+FFFD for what is not UTF-8.
const decoder = new TextDecoder('utf-8', { ignoreBOM: true });
const expected = values.map((value) => decoder.decode(Buffer.from(value)));

const file = '/tmp/template/pool/web/hostile.KTP';
const open = `<!--#parser fn="HTTP_Open_Parser_fn" arg="${file}"-->`;
const tag = (fn, attribute, format) =>
  `<!--#parser fn="HTTP_Parser_${fn}_fn" arg="s NULL ${attribute} string" format="${format}"-->`;
const forEachValue = (line) => values.map((_, index) => line(`v${index}`)).join('\n');
const block = (id, lines) => `<script type="application/json" id="${id}">${lines}</script>`;
const jsonBlock = (id, fn) =>
  block(id, `[${values.map((_, index) => tag(fn, `v${index}`, 'json')).join(',\n')}]`);

const icon = '<link rel="icon" href="/static/icon.svg">';

const page = `<!doctype html><html lang="en"><head>${open}<meta charset="utf-8">
${icon}
<title>${tag('Get', 'all', 'html')}</title></head><body>
${forEachValue((name) => `<p class="text">${tag('Get', name, 'html')}</p>`)}
${forEachValue((name) => `<p class="attribute" data-value="${tag('Get', name, 'html')}"></p>`)}
${forEachValue((name) => `<textarea class="area">\n${tag('Get', name, 'html')}</textarea>`)}
<p id="list">${tag('Get', 'all', 'html')}</p>
${jsonBlock('get', 'Get')}
${jsonBlock('escaped', 'JS_Get')}
${block('list-get', tag('Get', 'all', 'json'))}
${block('list-escaped', tag('JS_Get', 'all', 'json'))}
${block('template', '<!--#template-->')}
<script src="/hostile.js"></script></body></html>`;

const script = `${open}
globalThis.single = [${forEachValue((name) => `'${tag('Get', name, 'js')}',`)}];
globalThis.double = [${forEachValue((name) => `"${tag('Get', name, 'js')}",`)}];
globalThis.escapedSingle = [${forEachValue((name) => `'${tag('JS_Get', name, 'js')}',`)}];
globalThis.escapedDouble = [${forEachValue((name) => `"${tag('JS_Get', name, 'js')}",`)}];
globalThis.list = "${tag('Get', 'all', 'js')}";
globalThis.escapedList = "${tag('JS_Get', 'all', 'js')}";`;

// Everything that the page holds, as the browser understood it.
function readPage() {
  const all = (selector) => [...document.querySelectorAll(selector)];
  const json = (id) => JSON.parse(document.getElementById(id).textContent);
  const { single, double, escapedSingle, escapedDouble, list, escapedList } = globalThis;
  return {
    text: all('.text').map((node) => node.textContent),
    attribute: all('.attribute').map((node) => node.dataset.value),
    area: all('.area').map((node) => node.textContent),
    get: json('get').map((items) => items.join()),
    escaped: json('escaped').map((items) => items.join()),
    template: json('template')
      .services[0].invocations[0].attributes.filter(({ name }) => name !== 'all')
      .map((attribute) => attribute.values[0]),
    single, double, escapedSingle, escapedDouble,
    lists: [document.querySelector('title').textContent,
      document.getElementById('list').textContent, list, escapedList],
    arrays: [json('list-get'), json('list-escaped'),
      json('template').services[0].invocations[0].attributes.at(-1).values],
    elements: all('body *').length,
    broken: globalThis.broken,
  };
}

const hostileNames = [
  '<img src=x onerror=globalThis.broken=1>.KTP',
  '"><svg onload=globalThis.broken=1>.KTP',
  "' onfocus=globalThis.broken=1 '.KTP",
  'a&lt;b&amp;c.KTP',
  '%3Cb%3E%22.KTP',
  '<!--#reason-->.KTP',
  'back\\slash "quoted".KTP',
];

const namePage = `<!doctype html><html lang="en"><head>
<!--#parser fn="HTTP_Open_Parser_fn"--><meta charset="utf-8">${icon}<title>Names</title></head><body>
${block('template', '<!--#template-->')}<p id="reason"><!--#reason--></p>
<form><!--#parser fn="HTTP_Close_Parser_fn" arg="FALSE"--></form></body></html>`;

const emptyIcon = '<svg xmlns="http://www.w3.org/2000/svg"/>';

async function startWith(t, templates, pages) {
  const data = emptyDevice(path.join(temporaryDirectory(t), 'data'));
  writeFiles(path.join(data, 'pool/web'), templates);
  return startPlatend(t, { data, pages: { ...pages, 'static/icon.svg': emptyIcon } });
}

test('hostile values', async (t) => {
  const attributes = Object.fromEntries(values.map((value, index) => [`v${index}`, [value]]));
  const platend = await startWith(
    t,
    { 'hostile.KTP': templateFile({ s: { i: { ...attributes, all: values } } }) },
    { 'hostile.html': page, 'hostile.js': script },
  );
  const browser = await openBrowser(t);
  const tab = await openPage(browser);
  await tab.goto(`${platend.address}hostile.html`);
  const held = await tab.evaluate(readPage);

  const contexts = ['text', 'attribute', 'area', 'get', 'escaped', 'template', 'single', 'double',
    'escapedSingle', 'escapedDouble'];
  for (const context of contexts) {
    await t.test(`arrive whole in the context ${context}`, () => {
      assert.equal(held[context].length, expected.length);
      held[context].forEach((value, index) => {
        assert.equal(value, expected[index], `value ${index}: ${JSON.stringify(expected[index])}`);
      });
    });
  }

  await t.test('arrive whole as one list', () => {
    for (const list of held.lists) assert.equal(list, expected.join());
    for (const array of held.arrays) assert.deepEqual(array, expected);
  });

  await t.test('add no element and run no script', () => {
    const jsonBlocks = 5;
    const scripts = 1;
    const shown = 3 * values.length + 1;
    assert.equal(held.elements, shown + jsonBlocks + scripts);
    assert.equal(held.broken, undefined);
    assert.deepEqual(tab.faults, []);
  });
});

test('hostile names', async (t) => {
  const hostile = '</script><b>"\'\\`${}\u2028';
  const content = templateFile({ [hostile]: { [hostile]: { [hostile]: [hostile] } } });
  const platend = await startWith(
    t,
    Object.fromEntries(hostileNames.filter((_, index) => index % 2 === 0).map((name) => [name, content])),
    { 'names.html': namePage },
  );
  const browser = await openBrowser(t);

  for (const [index, name] of hostileNames.entries()) {
    const exists = index % 2 === 0;
    await t.test(`${exists ? 'a template' : 'no template'} named ${name}`, async () => {
      const tab = await openPage(browser);
      const template = `/tmp/template/pool/web/${name}`;
      const response = await tab.goto(
        `${platend.address}names.html?ParserFilename=${encodeURIComponent(template)}`,
      );
      const held = await tab.evaluate(() => ({
        reason: document.getElementById('reason').textContent,
        fields: [...document.querySelectorAll('input')].map(({ name, value }) => [name, value]),
        template: JSON.parse(document.getElementById('template').textContent),
        foreign: document.querySelectorAll('body :not(p, form, input, script)').length,
        broken: globalThis.broken,
      }));
      assert.equal(response.status(), exists ? 200 : 404);
      assert.equal(held.foreign, 0);
      assert.equal(held.broken, undefined);
      if (!exists) {
        assert.equal(held.reason, `Template not available : ${template}`);
        assert.deepEqual(held.fields, []);
        assert.equal(held.template, null);
        return;
      }
      assert.equal(held.reason, '');
      assert.deepEqual(held.fields, [['DefaultParserFilename', template]]);
      assert.equal(held.template.file, template);
      const [service] = held.template.services;
      const [invocation] = service.invocations;
      const [attribute] = invocation.attributes;
      assert.deepEqual(
        [service.name, invocation.name, attribute.name, ...attribute.values],
        [hostile, hostile, hostile, hostile],
      );
      assert.deepEqual(tab.faults, []);
    });
  }
});
