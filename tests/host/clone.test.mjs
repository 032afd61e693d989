// Clone files over HTTP: what is offered, what goes into a file, and what reading one in does.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { checksum, cloneFile, startClone, tree } from './clone.mjs';

const general = '[service qvn_svc_general]\n  [invocation one]\n';

const states = ({ items }) => items.map(({ name, state }) => [name.split('/').at(-1), state]);

test('the groups come with what they hold', async (t) => {
  const { admin } = await startClone(t);
  const { clone } = await admin.show();
  assert.deepEqual(clone, {
    groups: [
      {
        token: 10, name: 'Templates', templates: 0, settings: 0,
        subs: [
          { token: 11, name: 'Web', templates: 3, settings: 0 },
          { token: 12, name: 'Folders', templates: 1, settings: 0 },
        ],
      },
      { token: 20, name: 'Fax', templates: 0, settings: 1, subs: [] },
      { token: 30, name: 'Panel', templates: 0, settings: 0, subs: [{ token: 31, name: 'Volume', templates: 0, settings: 1 }] },
    ],
    leftOut: [],
    fault: null,
  });
});

test('what is left out is explained in the language of the visitor', async (t) => {
  const { admin, data } = await startClone(t, {
    'dlms/clone/data/clone_file_webui':
      '1,20,no.such.key == on,\n1,40,,11\n1,10,fax == off,11\n1,30,,31,32\n',
  });
  assert.deepEqual((await admin.show()).clone.leftOut, [
    '"Fax" is left out: it depends on the setting no.such.key, which has no value.',
    'The group 40 is left out: it has no name in this language.',
    '"Templates" is left out: it is for devices whose setting fax is off.',
    'The sub-group 32 is not shown: it has no name in this language.',
  ]);
  await admin.post('/clone.html', '/do/language', { language: 'de-de' });
  const { clone } = await admin.show();
  assert.deepEqual(clone.groups.map(({ name }) => name), ['Bedienfeld']);
  assert.equal(clone.leftOut.length, 5);
  fs.rmSync(`${data}/dlms/clone/data/clone_file_webui`);
  const gone = (await admin.show()).clone;
  assert.equal(gone.groups.length, 0);
  assert.equal(gone.leftOut.length, 1);
});

test('a file holds the chosen groups, and a second device is told what it would change', async (t) => {
  const { admin, pool } = await startClone(t);
  fs.writeFileSync(pool('web/Bytes.KTP'), Buffer.from(`# \xff\r\n${general}    Note (string) = \xe4`, 'latin1'));
  const made = await admin.make('11 30 31');
  assert.equal(made.status, 200);
  assert.match(made.headers['content-disposition'], /^attachment; filename\*=UTF-8''clone-\d{4}-\d\d-\d\d\.json$/);
  assert.equal(made.headers['content-type'], 'application/json');
  const { checksum: sum, ...document } = JSON.parse(made.body);
  assert.equal(sum, checksum(document));
  assert.deepEqual(document.groups, [
    { token: 11, name: 'Templates: Web' },
    { token: 30, name: 'Panel' },
    { token: 31, name: 'Panel: Volume' },
  ]);
  assert.deepEqual(document.settings, [{ key: 'panel.volume', group: 31, value: '3' }]);
  assert.deepEqual(document.templates.map(({ path }) => path.split('/').at(-1)), ['S.KTP', 'default.ktp', 'A.KTP', 'Bytes.KTP']);
  assert.ok(Buffer.from(document.templates[3].textBase64, 'base64').equals(fs.readFileSync(pool('web/Bytes.KTP'))));

  const other = await startClone(t);
  const before = tree(other.data);
  fs.rmSync(other.pool('web/A.KTP'));
  fs.writeFileSync(other.pool('system/S.KTP'), `${general}    JobTemplateName (string, compulsory) = A\n    Note (string) = new\n`);
  fs.writeFileSync(other.pool('system/default.ktp'), general);
  const found = await other.admin.summary(made.body);
  assert.deepEqual(states(found), [
    ['S.KTP', 'different'], ['default.ktp', 'blocked'], ['A.KTP', 'new'], ['Bytes.KTP', 'new'], ['panel.volume', 'same'],
  ]);
  assert.equal(found.items[1].note, 'The default template of the device is not replaced.');
  assert.deepEqual(found.items[0].difference.attributes, [{
    service: 'qvn_svc_general', invocation: 'one', attribute: 'Note',
    before: { values: ['new'], type: 'string', compulsory: false },
    after: { values: ['old'], type: 'string', compulsory: false },
  }]);

  const done = await other.admin.apply(found, '0 2 3');
  assert.equal(done.status, 303);
  assert.equal((await other.admin.show()).notice, `Taken over from the clone file:
- /tmp/template/pool/system/S.KTP
- /tmp/template/pool/web/A.KTP
- /tmp/template/pool/web/Bytes.KTP`);
  const bytes = [other.pool('web/Bytes.KTP'), fs.readFileSync(pool('web/Bytes.KTP'), 'latin1')];
  const expected = [...before, bytes].sort(([one], [two]) => (one < two ? -1 : 1));
  expected.find(([name]) => name.endsWith('default.ktp'))[1] = general;
  assert.deepEqual(tree(other.data), expected);
  assert.equal((await other.admin.show(`?upload=${found.upload}`)).upload, null);
});

test('settings are shown and stored, and a new folder is made with its directory', async (t) => {
  const { admin, data, pool } = await startClone(t);
  const text = `${general}    JobTemplateName (string) = N\n`;
  const file = cloneFile({
    groups: [{ token: 12, name: 'Folders' }, { token: 31, name: 'Volume' }],
    templates: [
      { path: '/tmp/template/pool/mailbox/N.KTP', group: 12, text, withheld: [] },
      { path: '/tmp/template/pool/mailbox/_PUBLIC.KTP', group: 12, text, withheld: [] },
    ],
    settings: [
      { key: 'panel.volume', group: 31, value: '5' },
      { key: 'panel.new', group: 31, value: '' },
    ],
  });
  const found = await admin.summary(file);
  assert.deepEqual(states(found), [['N.KTP', 'new'], ['_PUBLIC.KTP', 'blocked'], ['panel.volume', 'different'], ['panel.new', 'new']]);
  assert.deepEqual([found.items[2].before, found.items[2].after, found.items[3].before], ['3', '5', null]);
  assert.match(found.items[0].note, /open to everybody until you give it a PIN/);
  const done = await admin.apply(found, '0 2 3');
  assert.equal(done.status, 303);
  const { notice } = await admin.show();
  assert.match(notice, /^Taken over from the clone file:\n- .*\/N\.KTP\n- panel\.volume\n- panel\.new\n/);
  assert.match(notice, /reload of the templates|load its templates again/);
  assert.ok(fs.existsSync(pool('mailbox/N.KTP')));
  assert.ok(fs.statSync(`${data}/spool/image_store/s2mailbox/N`).isDirectory());
  const again = await admin.summary(file);
  assert.deepEqual(again.items.slice(2).map(({ state }) => state), ['same', 'same']);
});

test('a template that cannot be read is named, and left out only when that is said', async (t) => {
  const { admin, pool } = await startClone(t);
  fs.writeFileSync(pool('web/Broken.KTP'), '[service s]\n  oops\n');
  const refused = await admin.make('11');
  assert.equal(refused.status, 409);
  assert.match(refused.reason, /^Some templates cannot be cloned\..*\nBroken\.KTP:2:3: /);
  assert.equal(refused.posted.field, 'leaveOut');
  const made = await admin.make('11', { leaveOut: 'yes' });
  assert.equal(made.status, 200);
  const document = JSON.parse(made.body);
  assert.deepEqual(document.leftOut.map(({ path }) => path), ['/tmp/template/pool/web/Broken.KTP']);
  assert.ok(document.templates.every(({ path }) => !path.includes('Broken')));
});

test('no secret goes into a file, and those of the device outlive its reading', async (t) => {
  const secret = (name) => `planted-${name}`;
  const { admin, data, pool } = await startClone(t, {
    'etc/settings.txt': ['fax\ton', ...['fax.password', 'fax.sid', 'fax.PIN', 'panel.adminPasswd', 'scanToMailbox.M.password', 'scanToMailbox.M.sid']
      .map((key) => `${key}\t${secret(key)}`), 'panel.volume\t3'].join('\n'),
    'pool/web/Secret.KTP': `${general}    JobTemplateName (string) = Secret
    LoginPassword (string, compulsory) = ${secret('attribute')}
      = ${secret('second')}
    # LoginPassword (string) = ${secret('comment')}
    Note (string) = kept
[service qvn_dscrpt_metadata]
  [invocation one]
    MetaDataFieldName (string) = CODE
    MetaDataDefaultValue (string) = ${secret('default')}
    MetaDataMaskingRequired (enum) = MASK_AND_OMIT
  [invocation two]
    MetaDataFieldName (string) = S2M_JOB_PASSWORD
    MetaDataValue (string) = ${secret('job')}
  [invocation three]
    MetaDataFieldName (string) = PLAIN
    MetaDataDefaultValue (string) = shown
`,
  });
  const made = await admin.make('10 11 12 20 30 31');
  assert.equal(made.status, 200);
  assert.doesNotMatch(made.body, /planted/);
  const document = JSON.parse(made.body);
  const file = document.templates.find(({ path }) => path.endsWith('Secret.KTP'));
  assert.deepEqual(file.withheld, ['LoginPassword', 'MetaDataDefaultValue', 'MetaDataValue']);
  assert.match(file.text, /Note \(string\) = kept[^]*MetaDataDefaultValue \(string\) = shown/);
  assert.deepEqual(document.settings.map(({ key }) => key), ['panel.volume']);

  const same = await admin.summary(made.body);
  assert.deepEqual(same.items.filter(({ state }) => state === 'different'), []);
  const before = fs.readFileSync(pool('web/Secret.KTP'), 'utf8');
  fs.writeFileSync(pool('web/Secret.KTP'), before.replace('kept', 'changed'));
  const found = await admin.summary(made.body);
  assert.doesNotMatch(JSON.stringify(found), /planted/);
  const { number, state } = found.items.find(({ name }) => name.endsWith('Secret.KTP'));
  assert.equal(state, 'different');
  assert.equal((await admin.apply(found, String(number))).status, 303);
  const after = fs.readFileSync(pool('web/Secret.KTP'), 'utf8');
  for (const name of ['attribute', 'second', 'default', 'job']) assert.ok(after.includes(secret(name)), name);
  assert.match(after, /Note \(string\) = kept/);
  assert.ok(fs.existsSync(`${data}/state`));
});

test('a device that has changed since the summary is left alone', async (t) => {
  const { admin, data, pool } = await startClone(t);
  const file = cloneFile({
    templates: [{ path: '/tmp/template/pool/web/A.KTP', group: 11, text: general, withheld: [] }],
  });
  const found = await admin.summary(file);
  fs.appendFileSync(pool('web/A.KTP'), '# somebody else\n');
  const before = tree(data);
  const refused = await admin.apply(found, '0 1');
  assert.equal(refused.status, 409);
  assert.match(refused.reason, /^The device has changed meanwhile\./);
  assert.deepEqual(tree(data), before);
  const now = await admin.show(`?upload=${found.upload}`);
  assert.notEqual(now.upload.digest, found.digest);
  assert.equal((await admin.apply(now.upload, '0 1')).status, 303);
  assert.equal(fs.readFileSync(pool('web/A.KTP'), 'utf8'), general);
});

test('when something fails on the way, what was done and what was not is named', async (t) => {
  const { admin, data, pool } = await startClone(t);
  const template = (name) => ({ path: `/tmp/template/pool/${name}.KTP`, group: name.startsWith('web') ? 11 : 12, text: general, withheld: [] });
  const found = await admin.summary(cloneFile({
    groups: [11, 12, 31].map((token) => ({ token, name: 'x' })),
    templates: [template('web/New'), template('mailbox/N')],
  }));
  fs.rmSync(`${data}/spool/image_store`, { recursive: true, force: true });
  fs.writeFileSync(`${data}/spool/image_store`, 'no directory');
  const failed = await admin.apply(found, '0 1 2');
  assert.equal(failed.status, 500);
  assert.match(failed.reason, /^The directory of the folder N cannot be made: .*\nTaken over from the clone file:\n- \S*web\/New\.KTP\nNot taken over:\n- \S*mailbox\/N\.KTP\n- panel\.volume\n/);
  assert.ok(fs.existsSync(pool('web/New.KTP')));
  assert.ok(!fs.existsSync(pool('mailbox/N.KTP')));
});
