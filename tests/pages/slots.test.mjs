// Tests which settings an entry offers, how, and what comes of them in a form.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Draft } from '../../pages/static/editor/draft.js';
import { filingAddress } from '../../pages/static/editor/filing.js';
import { Look, Slot, addEntry, otherNames } from '../../pages/static/editor/slots.js';

const attribute = (name, type, values) => ({ name, type, compulsory: false, values });

/** A draft with one metadata field that holds `attributes`. */
function draftWith(attributes, name = 'm1') {
  return new Draft({
    services: [{ name: 'qvn_dscrpt_metadata', invocations: [{ name, attributes }] }],
  });
}

const entry = (draft) => draft.services[0].invocations[0];
const slotOf = (name, type, values) => {
  return new Slot(entry(draftWith(type ? [attribute(name, type, values)] : [])), name);
};

const MASK = 'enum_metadatamaskingrequired';

// [attribute, type, values as stored, how it is shown]
const LOOKS = [
  ['MetaDataPrompt', 'string', ['Who?'], Look.text],
  ['MetaDataPrompt', undefined, undefined, Look.text],
  ['MetaDataPrompt', 'string', [], Look.text],
  ['MetaDataPrompt', 'string', ['a', 'b'], Look.fixed],
  ['MetaDataRequiredEntry', 'boolean', ['TRUE'], Look.toggle],
  ['MetaDataRequiredEntry', 'string', ['FALSE'], Look.toggle],
  ['MetaDataRequiredEntry', undefined, undefined, Look.toggle],
  ['MetaDataRequiredEntry', 'boolean', ['maybe'], Look.text],
  ['MetaDataMaskingRequired', MASK, ['NO_MASK'], Look.options],
  ['MetaDataMaskingRequired', undefined, undefined, Look.options],
  ['MetaDataMaskingRequired', MASK, ['A', 'B'], Look.fixed],
];

for (const [name, type, values, look] of LOOKS) {
  test(`${name} ${type ?? 'absent'} ${JSON.stringify(values ?? [])} is shown as ${look}`, () => {
    assert.equal(slotOf(name, type, values).look, look);
  });
}

test('an entry whose name a form cannot carry is fixed, what it lacks too', () => {
  const draft = draftWith([attribute('MetaDataPrompt', 'string', ['x'])], 'NULL');
  for (const name of ['MetaDataPrompt', 'MetaDataFieldName']) {
    const slot = new Slot(entry(draft), name);
    assert.equal(slot.look, Look.fixed);
    assert.equal(slot.fixedReason, 'edit.fixed.name');
  }
});

test('the choices are what is stored, though nobody knows it, and the known values', () => {
  const options = (type, values) => slotOf('MetaDataMaskingRequired', type, values).options;
  assert.deepEqual(options(MASK, ['NO_MASK']), ['NO_MASK', 'MASK_AND_OMIT']);
  assert.deepEqual(options(MASK, ['STARS']), ['STARS', 'NO_MASK', 'MASK_AND_OMIT']);
  assert.deepEqual(options(undefined), ['', 'NO_MASK', 'MASK_AND_OMIT']);
});

test('a setting that the template lacks is posted once it has a value', () => {
  const draft = draftWith([]);
  const slot = new Slot(entry(draft), 'MetaDataPrompt');
  slot.settle();
  assert.deepEqual(draft.runs, []);
  slot.field.values = ['Who?'];
  slot.settle();
  slot.settle();
  assert.deepEqual(draft.runs, [
    [
      ['ServiceName', 'qvn_dscrpt_metadata'],
      ['InvocationName', 'm1'],
      ['AttributeName', 'MetaDataPrompt'],
      ['AttributeType', 'string'],
      ['AttributeValue', 'Who?'],
      ['Compulsory', 'FALSE'],
      ['Action', 'update'],
    ],
  ]);
  slot.field.values = [''];
  slot.settle();
  assert.deepEqual(draft.runs, []);
});

test('a stored setting stays in the template when it is emptied', () => {
  const draft = draftWith([attribute('MetaDataPrompt', 'string', ['Who?'])]);
  const slot = new Slot(entry(draft), 'MetaDataPrompt');
  slot.field.values = [''];
  slot.settle();
  assert.equal(draft.runs.length, 1);
  assert.deepEqual(draft.runs[0].at(-1), ['Action', 'update']);
});

test('a new entry begins with its first values, of their own types', () => {
  const draft = draftWith([]);
  const start = { MetaDataRequiredEntry: 'FALSE', MetaDataMaskingRequired: 'NO_MASK' };
  const added = addEntry(draft.service('qvn_dscrpt_metadata'), start);
  assert.deepEqual(
    draft.runs.map((run) => run.slice(1, 5).map(([, value]) => value)),
    [
      ['1', 'MetaDataRequiredEntry', 'boolean', 'FALSE'],
      ['1', 'MetaDataMaskingRequired', MASK, 'NO_MASK'],
    ],
  );
  assert.equal(new Slot(added, 'MetaDataMaskingRequired').look, Look.options);
});

test('what an entry holds beside its slots is told', () => {
  const draft = draftWith([
    attribute('MetaDataPrompt', 'string', ['x']),
    attribute('MetaDataType', 'string', ['string']),
  ]);
  const slots = [new Slot(entry(draft), 'MetaDataPrompt')];
  assert.deepEqual(otherNames(entry(draft), slots), ['MetaDataType']);
});

// [protocol, server, volume, path, address]
const ADDRESSES = [
  ['FTP', 'ftp.example.com', '', '/in, R&D', 'ftp://ftp.example.com/in, R&D'],
  ['SMB', 'files', 'share', '\\a\\b', 'smb://files/share/a\\b'],
  ['HTTPS', 'h', '', '', 'https://h'],
  ['', 'h', '', 'p', 'h/p'],
  ['FTP', '', '', '//p', 'ftp://?/p'],
  ['FTP', '', '', '', ''],
];

for (const [protocol, server, volume, path, address] of ADDRESSES) {
  test(`scans go to ${address || 'no place'}`, () => {
    assert.equal(filingAddress({ protocol, server, volume, path }), address);
  });
}
