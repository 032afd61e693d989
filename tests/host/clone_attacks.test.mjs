// Attacks by clone files: whatever is in one, nothing outside the groups is touched.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Cloner, cloneFile, checksum, startClone, tree } from './clone.mjs';
import { addUser } from './visitor.mjs';

const general = '[service qvn_svc_general]\n  [invocation one]\n';
const web = '/tmp/template/pool/web';

const withTemplate = (changes) =>
  cloneFile({ templates: [{ path: `${web}/New.KTP`, group: 11, text: general, withheld: [], ...changes }] });
const withSetting = (changes) => cloneFile({ settings: [{ key: 'panel.volume', group: 31, value: '5', ...changes }] });

/** A clone file whose text is changed, with the checksum that the changed document has. */
function reworded(change) {
  const { checksum: sum, ...document } = JSON.parse(cloneFile());
  const text = change(JSON.stringify(document));
  return text.replace(/}$/, `,"checksum":"${checksum(JSON.parse(text))}"}`);
}

const nested = `${'['.repeat(100000)}${']'.repeat(100000)}`;

const files = {
  'a path that leads out': [withTemplate({ path: `${web}/../factory/F.KTP` }), /belongs to no group/],
  'a path outside the pools': [withTemplate({ path: '/etc/New.KTP' }), /belongs to no group/],
  'a template as shipped': [withTemplate({ path: '/tmp/template/pool/factory/F.KTP' }), /belongs to no group/],
  'a directory below': [withTemplate({ path: `${web}/deep/New.KTP` }), /belongs to no group/],
  'a path with a bar': [withTemplate({ path: `${web}/New.KTP|x.KTP` }), /belongs to no group/],
  'a path with a NUL': [withTemplate({ path: `${web}/New\0.KTP` }), /belongs to no group/],
  'the group of another': [withTemplate({ group: 31 }), /belongs to no group/],
  'a group that is not named': [cloneFile({ groups: [{ token: 11, name: 'Web' }] }), /does not name the group of panel\.volume/],
  'a template twice': [
    cloneFile({ templates: [1, 2].map(() => ({ path: `${web}/New.KTP`, group: 11, text: general, withheld: [] })) }),
    /holds .*New\.KTP twice/,
  ],
  'a broken template': [withTemplate({ text: `${general}    oops\n` }), /^New\.KTP:3:5: /],
  'a template with a NUL': [withTemplate({ text: `${general}    Note (string) = \0\n` }), /^New\.KTP:3:/],
  'a template with a password': [withTemplate({ text: `${general}    LoginPassword (string) = x\n` }), /holds secrets .*LoginPassword/],
  'a secret setting': [withSetting({ key: 'scanToMailbox.M.password' }), /secret and not taken/],
  'a session of a folder': [withSetting({ key: 'panel.sid' }), /secret and not taken/],
  'an unknown setting': [withSetting({ key: 'services[templatePool].localUpdating' }), /belongs to no group/],
  'a value that is too long': [withSetting({ value: 'x'.repeat(1064) }), /too long or no text/],
  'a value with a NUL': [withSetting({ value: 'x\0' }), /too long or no text/],
  'a broken Base64': [cloneFile({ settings: [{ key: 'panel.volume', group: 31, valueBase64: '!' }] }), /no usable "valueBase64"/],
  'a wrong checksum': [cloneFile().replace('"5"', '"6"'), /checksum is wrong/],
  'another version': [cloneFile({ version: 2 }), /version 2, and this device reads version 1/],
  'another format': [cloneFile({ format: 'x' }), /no clone file of Platen/],
  'something unknown': [cloneFile({ more: 1 }), /something unknown: "more"/],
  'a member of another kind': [cloneFile({ templates: {} }), /no usable "templates"/],
  'a missing member': [cloneFile({ made: undefined }), /no usable "made"/],
  'a group that is no whole number': [withTemplate({ group: 1e300 }), /no usable "group"/],
  'a name twice': [reworded((text) => text.replace('"made":', '"made":"x","made":')), /"made" twice/],
  'deep nesting': [`{"format":${nested}}`, /nested too deep/],
  'a list': ['[]', /no clone file of Platen/],
  'no JSON': ['{"format":', /damaged at byte/],
  'half a file': [cloneFile().slice(0, 200), /damaged at byte/],
  'bytes that are no text': [Buffer.from([0x7b, 0x22, 0xff, 0xfe]), /damaged at byte/],
  'nothing': ['', /Choose a clone file/],
  'a file that is too long': [`${' '.repeat(4 * 1024 * 1024)}{}`, /too long/],
};

test('a file that is not as it should be is refused as a whole', async (t) => {
  const { admin, data } = await startClone(t);
  const before = tree(data);
  for (const [what, [text, reason]] of Object.entries(files)) {
    const answer = await admin.read(text);
    assert.equal(answer.status, 422, what);
    assert.match(answer.reason, reason, what);
  }
  assert.deepEqual(tree(data), before);
});

test('the name of the file counts for nothing', async (t) => {
  const { admin } = await startClone(t);
  assert.equal((await admin.read(cloneFile(), '../../etc/passwd')).status, 303);
});

test('only administrators make, read in and apply', async (t) => {
  const { platend, admin, data } = await startClone(t);
  const found = await admin.summary(cloneFile());
  const user = Object.setPrototypeOf(await addUser(platend, admin), Cloner.prototype);
  const nobody = new Cloner(platend);
  const before = tree(data);
  assert.equal((await nobody.get('/clone.html')).status, 303);
  assert.equal((await user.get('/clone.html')).status, 403);
  for (const visitor of [user, nobody]) {
    for (const [form, fields] of [
      ['/do/clone', { groups: '11' }],
      ['/do/clone-apply', { upload: found.upload, digest: found.digest, items: '0' }],
    ]) {
      assert.equal((await visitor.post('/index.html', form, fields)).status, 403, form);
    }
  }
  assert.deepEqual(tree(data), before);
});

test('the file of another session is not there', async (t) => {
  const { platend, admin, data } = await startClone(t);
  const found = await admin.summary(cloneFile());
  const other = await new Cloner(platend).enter(platend);
  assert.equal((await other.show(`?upload=${found.upload}`)).upload, null);
  const before = tree(data);
  const refused = await other.apply(found, '0');
  assert.equal(refused.status, 422);
  assert.match(refused.reason, /kept no longer/);
  assert.deepEqual(tree(data), before);
  assert.equal((await admin.apply(found, '0')).status, 303);
});

test('only what the summary offers is applied', async (t) => {
  const { admin, data } = await startClone(t);
  const found = await admin.summary(cloneFile({
    templates: [{ path: '/tmp/template/pool/system/default.ktp', group: 11, text: general, withheld: [] }],
  }));
  const before = tree(data);
  for (const items of ['', '0', '0 1', '2', '-1', '1 99999999999', 'x']) {
    const refused = await admin.apply(found, items);
    assert.equal(refused.status, 422, items);
  }
  assert.equal((await admin.apply({ ...found, digest: 'x' }, '1')).status, 409);
  assert.deepEqual(tree(data), before);
});

test('groups that the device does not offer are neither made nor applied', async (t) => {
  const { admin } = await startClone(t, { 'etc/settings.txt': 'fax\toff\nfax.number\t1\npanel.volume\t3\n' });
  for (const groups of ['20', '11 20', '99']) {
    const refused = await admin.make(groups);
    assert.equal(refused.status, 409, groups);
  }
  assert.equal((await admin.make('')).status, 422);
  const found = await admin.summary(cloneFile({
    groups: [{ token: 11, name: 'Web' }, { token: 20, name: 'Fax' }],
    settings: [{ key: 'fax.number', group: 20, value: '2' }],
  }));
  assert.deepEqual(found.items.map(({ state }) => state), ['new', 'blocked']);
  assert.equal((await admin.apply(found, '1')).status, 422);
});
