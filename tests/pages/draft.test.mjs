// Tests what the editor posts for what the user changes, and what it refuses to post.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { test } from 'node:test';
import {
  Kind,
  canRemove,
  isSendable,
  kindOf,
  removalReason,
} from '../../pages/static/editor/attributes.js';
import {
  draftProblems,
  fieldProblems,
  holdsForeignBytes,
  lacksValue,
  newFieldProblem,
} from '../../pages/static/editor/checks.js';
import {
  Draft,
  attributesOfService,
  splitRuns,
  valuesOfType,
} from '../../pages/static/editor/draft.js';

const attribute = (name, type, values, compulsory = false) => ({ name, type, compulsory, values });

/** A template with one of everything. */
function sample() {
  return {
    file: '/tmp/template/pool/web/A.KTP',
    services: [
      {
        name: 'qvn_svc_general',
        invocations: [
          {
            name: 'g1',
            attributes: [
              attribute('JobTemplateName', 'string', ['A'], true),
              attribute('KLVDefinitionUsed', 'enum_KLV', ['13']),
              attribute('Body', 'string', ['one\r\ntwo']),
              attribute('Silent', 'boolean', ['FALSE']),
              attribute('Odd', 'boolean', ['maybe']),
              attribute('Nothing', 'string', []),
            ],
          },
        ],
      },
      {
        name: 'svc_fax',
        invocations: [
          {
            name: 'f1',
            attributes: [
              attribute('PhoneNumber', 'string', ['555,1', '556']),
              attribute('Format', 'enum_format', ['PDF', 'TIFF']),
              attribute('Keywords', 'string', ['a', 'b', 'a', 'c,d', '', 'NULL']),
            ],
          },
          { name: 'f2', attributes: [attribute('Note', 'string', ['x'])] },
        ],
      },
      {
        name: 'qvn_dscrpt_metadata',
        invocations: [
          {
            name: 'm1',
            attributes: [
              attribute('MetaDataPrompt', 'string', ['Number']),
              attribute('Several', 'string', ['a', 'b']),
            ],
          },
        ],
      },
    ],
  };
}

const general = (draft) => draft.services[0].invocations[0];
const fax = (draft) => draft.services[1].invocations[0];
const metadata = (draft) => draft.services[2].invocations[0];

/** The draft of the sample after `change`. */
function changed(change) {
  const draft = new Draft(sample());
  change(draft);
  return draft;
}

const asText = (runs) => runs.map((run) => run.map(([name, value]) => `${name}=${value}`));

test('an untouched draft posts nothing and has no problem', () => {
  const draft = new Draft(sample());
  assert.deepEqual(draft.runs, []);
  assert.deepEqual(draftProblems(draft), []);
});

test('each attribute gets the control that its type and values allow', () => {
  const kinds = Object.fromEntries(
    new Draft(sample()).fields.map((field) => [field.name, field.kind]),
  );
  assert.deepEqual(kinds, {
    JobTemplateName: Kind.text,
    KLVDefinitionUsed: Kind.fixed,
    Body: Kind.text,
    Silent: Kind.toggle,
    Odd: Kind.text,
    Nothing: Kind.text,
    PhoneNumber: Kind.phones,
    Format: Kind.choices,
    Keywords: Kind.removal,
    Note: Kind.text,
    MetaDataPrompt: Kind.text,
    Several: Kind.fixed,
  });
});

test('an attribute can be removed unless it is required, stamped or out of reach', () => {
  const draft = new Draft(sample());
  const kept = draft.fields.filter((field) => !canRemove(field)).map(({ name }) => name);
  assert.deepEqual(kept, ['JobTemplateName', 'KLVDefinitionUsed']);
  const odd = { service: 's', invocation: 'i', name: 'NULL', type: 'string', values: ['v'] };
  assert.equal(canRemove(odd), false);
});

test('a name that would not arrive as it is makes an attribute fixed', () => {
  for (const name of ['', 'NULL', 'a\nb', 'a\rb', 'a\uFFFDb', 'ü'.repeat(128)]) {
    assert.equal(isSendable(name), false, JSON.stringify(name));
    for (const place of ['service', 'invocation', 'name']) {
      const address = { service: 's', invocation: 'i', name: 'n', type: 'string', values: ['v'] };
      assert.equal(kindOf({ ...address, [place]: name }), Kind.fixed, `${place} ${name}`);
    }
  }
  for (const name of ['null', 'a b', '<b>', 'ü', '"', '|', ',']) assert.ok(isSendable(name), name);
});

test('an update names everything that the device would otherwise reset', () => {
  const draft = changed((draft) => {
    general(draft).field('JobTemplateName').values = ['B, "b" <b>;\\'];
  });
  assert.deepEqual(asText(draft.runs), [
    [
      'ServiceName=qvn_svc_general',
      'InvocationName=g1',
      'AttributeName=JobTemplateName',
      'AttributeType=string',
      'AttributeValue=B, "b" <b>;\\',
      'Compulsory=TRUE',
      'was={"value":"A","type":"string","compulsory":true}',
      'Action=update',
    ],
  ]);
});

// What a control holds in the end, and the fields of the run that differ from case to case.
const EDITS = [
  ['text to nothing', general, 'JobTemplateName', [''], { AttributeValue: '', Action: 'update' }],
  ['first text', general, 'Nothing', ['x'], { AttributeValue: 'x', was: '' }],
  ['lines', general, 'Body', ['one\ntwo\n'], { AttributeValue: 'one\ntwo\n', was: 'one\r\ntwo' }],
  ['toggle', general, 'Silent', ['TRUE'], { AttributeValue: 'TRUE', AttributeType: 'boolean' }],
  [
    'phones',
    fax,
    'PhoneNumber',
    ['', '1,2', '', '3'],
    { AttributeValue: '1,2;3', was: '555,1;556' },
  ],
  ['no phones', fax, 'PhoneNumber', [''], { AttributeValue: undefined, Action: 'delete' }],
  ['list', fax, 'Format', ['PDF', 'JPEG'], { AttributeValue: 'PDF,JPEG', was: 'PDF,TIFF' }],
  ['list to one', fax, 'Format', ['PDF'], { AttributeValue: 'PDF', Action: 'update' }],
  ['list to nothing', fax, 'Format', [''], { AttributeValue: '', Action: 'update' }],
  [
    'removal',
    fax,
    'Keywords',
    ['b', 'a', 'c,d', '', 'NULL'],
    { AttributeValue: 'a', Action: 'delete' },
  ],
  [
    'two removals',
    fax,
    'Keywords',
    ['a', 'c,d', '', 'NULL'],
    { AttributeValue: 'b,a', Action: 'delete' },
  ],
];

for (const [what, invocation, name, values, expected] of EDITS) {
  test(`one run is posted for a change of ${what}`, () => {
    const draft = changed((draft) => (invocation(draft).field(name).values = values));
    const [run, ...more] = splitRuns(draft.runs.flat().map(([name, value]) => ({ name, value })));
    assert.deepEqual(more, []);
    const was = run.was && JSON.parse(run.was).value;
    for (const [field, value] of Object.entries(expected)) {
      assert.equal(field === 'was' ? was : run[field], value, field);
    }
  });
}

test('values that differ in line ends only are no change', () => {
  const draft = changed((draft) => (general(draft).field('Body').values = ['one\ntwo']));
  assert.deepEqual(draft.runs, []);
});

test('empty lines between phone numbers are no change', () => {
  const draft = changed((draft) => (fax(draft).field('PhoneNumber').values = ['555,1', '', '556']));
  assert.deepEqual(draft.runs, []);
});

test('of equal values the one taken out is the first, as the device does it', () => {
  const draft = changed((draft) => fax(draft).field('Keywords').takeOut('a'));
  assert.deepEqual(fax(draft).field('Keywords').values, ['b', 'a', 'c,d', '', 'NULL']);
});

test('removed attributes and invocations are delete runs without what would narrow them', () => {
  const draft = changed((draft) => {
    fax(draft).field('Format').isRemoved = true;
    draft.services[1].invocations[1].isRemoved = true;
    draft.services[1].invocations[1].field('Note').values = ['lost anyway'];
  });
  assert.deepEqual(asText(draft.runs), [
    ['ServiceName=svc_fax', 'InvocationName=f1', 'AttributeName=Format', 'Action=delete'],
    ['ServiceName=svc_fax', 'InvocationName=f2', 'Action=delete'],
  ]);
});

test('removals of values are posted first, then updates, deletes and new invocations', () => {
  const draft = changed((draft) => {
    draft.services[1].addInvocation().addField({ name: 'Note', type: 'string' });
    general(draft).field('Odd').isRemoved = true;
    general(draft).field('Body').values = ['x'];
    fax(draft).field('Keywords').takeOut('b');
  });
  const actions = draft.runs.map((run) => run.find(([name]) => name === 'AttributeName')[1]);
  assert.deepEqual(actions, ['Keywords', 'Body', 'Odd', 'Note']);
});

test('a new attribute is posted without a was', () => {
  const draft = changed((draft) => {
    fax(draft).addField({ name: 'Quiet', type: 'boolean', compulsory: true });
  });
  assert.deepEqual(asText(draft.runs), [
    [
      'ServiceName=svc_fax',
      'InvocationName=f1',
      'AttributeName=Quiet',
      'AttributeType=boolean',
      'AttributeValue=FALSE',
      'Compulsory=TRUE',
      'Action=update',
    ],
  ]);
});

test('the fields of a new invocation carry its label, by which it is told from others', () => {
  const draft = new Draft(sample());
  const service = draft.service('svc_fax');
  const [first, second] = [service.addInvocation(), service.addInvocation()];
  first.addField({ name: 'Note', type: 'string' });
  second.addField({ name: 'Note', type: 'string' });
  first.addField({ name: 'More', type: 'string' });
  assert.deepEqual(
    draft.runs.map((run) => run.slice(0, 3).map(([, value]) => value)),
    [
      ['svc_fax', '1', 'Note'],
      ['svc_fax', '1', 'More'],
      ['svc_fax', '2', 'Note'],
    ],
  );
  assert.deepEqual(draft.runs[0].slice(0, 2), [
    ['ServiceName', 'svc_fax'],
    ['NewInvocation', '1'],
  ]);
  service.discard(first);
  assert.equal(service.addInvocation().label, '1');
  assert.equal(service.addInvocation().label, '3');
});

// [field, values, phrase of the problem or '', its row]
const TRAPS = [
  [general, 'Body', ['NULL'], 'edit.error.null', 0],
  [general, 'Body', ['NULL '], ''],
  [general, 'Body', ['a,b;c\n"'], ''],
  [fax, 'PhoneNumber', ['1', '2;3'], 'edit.error.semicolon', 1],
  [fax, 'PhoneNumber', ['', 'NULL'], 'edit.error.null', 1],
  [fax, 'PhoneNumber', ['1', 'NULL'], ''],
  [fax, 'Format', ['PDF', 'A,B'], 'edit.error.comma', 1],
  [fax, 'Format', ['A,B'], 'edit.error.comma', 0],
  [fax, 'Format', ['PDF', '', 'X'], 'edit.error.empty', 1],
  [fax, 'Format', ['NULL'], 'edit.error.null', 0],
  [fax, 'Keywords', ['a', 'b', 'a', '', 'NULL'], 'edit.removal.comma', 0],
  [fax, 'Keywords', ['a', 'b', 'a', 'c,d', 'NULL'], 'edit.removal.null', 0],
  [fax, 'Keywords', ['a', 'b', 'a', 'c,d', ''], 'edit.removal.null', 0],
  [fax, 'Keywords', ['c,d', '', 'NULL'], ''],
];

for (const [invocation, name, values, phrase, row] of TRAPS) {
  test(`${name} as ${JSON.stringify(values)} is ${phrase || 'accepted'}`, () => {
    const draft = changed((draft) => (invocation(draft).field(name).values = values));
    const problems = draftProblems(draft).map(({ field, row, phrase }) => [
      field.name,
      row,
      phrase,
    ]);
    assert.deepEqual(problems, phrase === '' ? [] : [[name, row, phrase]]);
  });
}

test('what cannot be posted is no problem while it is untouched or removed', () => {
  const stored = sample();
  stored.services[1].invocations[0].attributes[0].values = ['1;2', 'NULL'];
  stored.services[1].invocations[0].attributes[1].values = ['A,B', ''];
  const draft = new Draft(stored);
  assert.deepEqual(draftProblems(draft), []);
  fax(draft).field('Format').isRemoved = true;
  assert.deepEqual(draftProblems(draft), []);
});

test('a value with a line end or other bytes than UTF-8 cannot be named for removal', () => {
  assert.equal(removalReason('a\nb'), 'edit.removal.lines');
  assert.equal(removalReason('a\uFFFD'), 'edit.removal.bytes');
  assert.equal(removalReason('a b'), '');
});

test('a required value that is empty and one with foreign bytes are pointed out', () => {
  const stored = sample();
  stored.services[0].invocations[0].attributes[2].values = ['caf\uFFFD'];
  const draft = new Draft(stored);
  assert.deepEqual(
    draft.fields.filter(holdsForeignBytes).map(({ name }) => name),
    ['Body'],
  );
  assert.deepEqual(draft.fields.filter(lacksValue), []);
  general(draft).field('JobTemplateName').values = [''];
  assert.deepEqual(
    draft.fields.filter(lacksValue).map(({ name }) => name),
    ['JobTemplateName'],
  );
  assert.deepEqual(fieldProblems(general(draft).field('JobTemplateName')), []);
});

test('a new field needs a type and a name of its own', () => {
  const invocation = general(new Draft(sample()));
  const cases = [
    ['', 'string', 'edit.error.name'],
    ['NULL', 'string', 'edit.error.name'],
    ['New', '', 'edit.error.type'],
    ['New', 'NULL', 'edit.error.type'],
    ['Body', 'string', 'edit.error.twice'],
    ['New', 'string', ''],
  ];
  for (const [name, type, expected] of cases) {
    assert.equal(newFieldProblem(invocation, { name, type }), expected, `${name} ${type}`);
  }
});

test('a new invocation without a value is refused', () => {
  const draft = changed((draft) => draft.service('svc_new').addInvocation());
  assert.deepEqual(
    draftProblems(draft).map(({ phrase }) => phrase),
    ['edit.error.first'],
  );
});

test('more changes than a form may carry are refused', () => {
  const attributes = Array.from({ length: 500 }, (_, i) => attribute(`n${i}`, 'string', ['x']));
  const draft = new Draft({ services: [{ name: 's', invocations: [{ name: 'i', attributes }] }] });
  draft.fields.forEach((field) => (field.values = ['y']));
  assert.deepEqual(draftProblems(draft), [{ phrase: 'edit.error.many' }]);
});

/** What a browser posts for the runs: line ends as CRLF. */
const posted = (runs) =>
  runs.flat().map(([name, value]) => ({ name, value: value.replace(/\r?\n/g, '\r\n') }));

test('a refused post fills the same draft again', () => {
  const before = changed((draft) => {
    general(draft).field('Body').values = ['new\nlines, "quoted"'];
    general(draft).field('Silent').values = ['TRUE'];
    general(draft).field('Odd').isRemoved = true;
    fax(draft).field('PhoneNumber').values = [];
    fax(draft).field('Format').values = ['X', 'Y'];
    fax(draft).field('Keywords').takeOut('a');
    fax(draft).addField({ name: 'Added', type: 'enum_x', compulsory: true }).values = ['1', '2'];
    draft.services[1].invocations[1].isRemoved = true;
    draft.service('svc_new').addInvocation().addField({ name: 'N', type: 'string' });
    const prompts = draft.service('qvn_dscrpt_metadata').addInvocation();
    prompts.addField({ name: 'MetaDataPrompt', type: 'string' }).values = ['P'];
    prompts.addField({ name: 'MetaDataFieldName', type: 'string' }).values = ['F'];
    const second = draft.service('qvn_dscrpt_metadata').addInvocation();
    second.addField({ name: 'MetaDataPrompt', type: 'string' }).values = ['P2'];
  });
  const after = new Draft(sample());
  const lost = after.refill(posted(before.runs));
  assert.deepEqual(lost, []);
  assert.deepEqual(after.runs, before.runs);
});

test('after a refusal the change keeps the stored value that it was posted with', () => {
  const before = changed((draft) => (metadata(draft).field('MetaDataPrompt').values = ['mine']));
  const stored = sample();
  stored.services[2].invocations[0].attributes[0].values = ['theirs'];
  const after = new Draft(stored);
  after.refill(posted(before.runs));
  assert.deepEqual(after.runs, before.runs);
});

test('a conflict is shown at its field, and taking what is stored posts nothing', () => {
  const conflict = {
    service: 'svc_fax',
    invocation: 'f2',
    attribute: 'Note',
    was: { value: 'w', type: 'string', compulsory: false },
    stored: { value: 'x', type: 'string', compulsory: false },
    wanted: { value: 'mine', type: 'string', compulsory: false },
  };
  const run = [
    ['ServiceName', 'svc_fax'],
    ['InvocationName', 'f2'],
    ['AttributeName', 'Note'],
    ['AttributeType', 'string'],
    ['AttributeValue', 'mine'],
    ['Compulsory', 'FALSE'],
    ['was', JSON.stringify(conflict.stored)],
    ['Action', 'update'],
  ];
  const draft = new Draft(sample());
  draft.refill(posted([run]), [conflict]);
  const field = draft.services[1].invocations[1].field('Note');
  assert.equal(field.conflict, conflict);
  assert.deepEqual(draft.runs, [run]);
  field.reset();
  assert.deepEqual(draft.runs, []);
});

test('an attribute that is gone is added again, and a change without its place is told', () => {
  const before = changed((draft) => {
    general(draft).field('Odd').values = ['back'];
    draft.services[1].invocations[1].field('Note').values = ['nowhere'];
  });
  const stored = sample();
  stored.services[0].invocations[0].attributes.splice(4, 1);
  stored.services[1].invocations.pop();
  const after = new Draft(stored);
  const lost = after.refill(posted(before.runs));
  assert.deepEqual(
    lost.map(({ InvocationName, AttributeValue }) => [InvocationName, AttributeValue]),
    [['f2', 'nowhere']],
  );
  assert.deepEqual(
    after.runs.map((run) => run[4]),
    [['AttributeValue', 'back']],
  );
});

test('what the template holds elsewhere is offered as a suggestion', () => {
  const draft = new Draft(sample());
  assert.deepEqual(valuesOfType(draft, 'enum_format'), ['PDF', 'TIFF']);
  assert.deepEqual(
    [...attributesOfService(draft, 'qvn_dscrpt_metadata')],
    [
      ['MetaDataPrompt', 'string'],
      ['Several', 'string'],
    ],
  );
});
