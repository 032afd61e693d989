// Each verb of ktp: what it prints, what it changes, how it ends.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { source, stage } from './ktp_fixture.mjs';

const colour = 'web/Colour scan.KTP';
const done = { status: 0, out: '', err: '' };
const resolution = 'qvn_dscrpt_image.Resolution';

const template = '# by hand\n[service s]\n  [invocation i]\n    a (string) = one\n';

test('show prints addresses that get takes', (t) => {
  const { ktp, write } = stage(t);
  write('odd.KTP', '[service s.x]\n[invocation i:1]\na.b (t, compulsory)\n= x\\n\\\\y\n= \n[invocation j]\nn (t)\n');
  assert.equal(
    ktp('show', 'odd.KTP').out,
    's\\\\.x:i\\\\:1.a\\\\.b (t, compulsory) = x\\x0A\\\\y\ns\\\\.x:i\\\\:1.a\\\\.b (t, compulsory) = \ns\\\\.x:j.n (t)\n',
  );
  assert.equal(ktp('get', 'odd.KTP', 's\\.x:i\\:1.a\\.b').out, 'x\n\\y\n\n');
  assert.deepEqual(ktp('get', 'odd.KTP', 's\\.x:j.n'), done);
});

test('the JSON of the reading verbs has the documented form', (t) => {
  const { ktp, write, file } = stage(t);
  write('pool.KTP', template);
  const json = (...words) => JSON.parse(ktp(...words, '--json').out);
  const held = { name: 'a', type: 'string', compulsory: false, values: ['one'] };
  const services = [{ name: 's', invocations: [{ name: 'i', attributes: [held] }] }];
  assert.deepEqual(json('show', 'pool.KTP'), { file: 'pool.KTP', services });
  assert.deepEqual(JSON.parse(ktp('export', 'pool.KTP').out), { services });
  const one = { file: 'pool.KTP', service: 's', invocation: 'i', attribute: 'a', type: 'string', compulsory: false, line: 4, values: ['one'] };
  assert.deepEqual(json('get', 'pool.KTP', 's.a'), one);
  assert.deepEqual(json('explain', 'pool.KTP', 's.a'), { ...one, lines: [4], page: 'edit.html', prompt: null });
  const general = "qvn_svc_general]\n[invocation g]\nJobTemplateCreator (string) = me\nJobTemplateDescription (string) = it\n";
  fs.mkdirSync(file('alone'));
  write('alone/a.KTP', `[service ${general}`);
  assert.deepEqual(json('list', 'alone'), [{ file: 'alone/a.KTP', creator: 'me', description: 'it' }]);
  assert.deepEqual(json('check', 'pool.KTP', 'web/Broken.KTP'), [
    { file: 'web/Broken.KTP', fault: 'web/Broken.KTP:7:5: this is no line of the form NAME (TYPE) = VALUE' },
  ]);
  write('other.KTP', template.replace('one', 'two'));
  const side = (value) => ({ values: [value], type: 'string', compulsory: false });
  assert.deepEqual(json('diff', 'pool.KTP', 'other.KTP'), [
    { service: 's', invocation: 'i', attribute: 'a', before: side('one'), after: side('two') },
  ]);
});

test('several edits of one call are one save, which keeps comments', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  assert.deepEqual(ktp('set', 'a.KTP', 's.a=two=2', 's:i.b=new', 'fresh.c=x'), done);
  assert.equal(
    read('a.KTP'),
    '# by hand\n[service s]\n  [invocation i]\n    a (string) = two=2\n    b (string) = new\n\n' +
      '[service fresh]\n  [invocation fresh_1]\n    c (string) = x\n',
  );
  assert.equal(JSON.parse(ktp('history', 'a.KTP', '--json').out).length, 1);
});

test('an edit that cannot be made leaves all others unmade', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  const refused = ktp('set', 'a.KTP', 's.a=two', 's:absent.a=x');
  assert.deepEqual(refused, {
    status: 1,
    out: '',
    err: 'a.KTP: s:absent.a=x: nothing was changed, as the service has no such invocation\n',
  });
  assert.equal(read('a.KTP'), template);
});

test('set keeps type and mark unless told', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template.replace('(string)', '(enum_x, compulsory)'));
  const line = () => read('a.KTP').split('\n')[3].trim();
  ktp('set', 'a.KTP', 's.a=two');
  assert.equal(line(), 'a (enum_x, compulsory) = two');
  ktp('set', 'a.KTP', 's.a=two', '--optional', '--type', 'integer');
  assert.equal(line(), 'a (integer) = two');
  ktp('set', 'a.KTP', 's.a=two', '--compulsory');
  assert.equal(line(), 'a (integer, compulsory) = two');
  assert.equal(ktp('set', 'a.KTP', 's.a=two', '--compulsory', '--optional').status, 2);
});

test('add, remove, new and delete change lists, invocations and services', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  assert.deepEqual(ktp('add', 'a.KTP', 's.a=two', 's.a=three'), done);
  assert.equal(ktp('get', 'a.KTP', 's.a').out, 'one\ntwo\nthree\n');
  assert.deepEqual(ktp('remove', 'a.KTP', 's.a=one', 's.a=three'), done);
  assert.equal(ktp('get', 'a.KTP', 's.a').out, 'two\n');
  assert.equal(ktp('remove', 'a.KTP', 's.a=nine').status, 1);
  assert.deepEqual(ktp('new', 'a.KTP', 's', 'other'), { ...done, out: 's:s_1\nother:other_1\n' });
  assert.equal(ktp('new', 'a.KTP', 's:named').status, 2);
  assert.deepEqual(ktp('delete', 'a.KTP', 's:s_1', 'other', 's:i.a'), done);
  assert.equal(read('a.KTP'), '# by hand\n[service s]\n  [invocation i]\n');
  assert.equal(ktp('delete', 'a.KTP', 's:s_1').status, 1);
});

test('new adds attributes without values, and none that is there', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  assert.deepEqual(ktp('new', 'a.KTP', 's:i.b', 'fresh.c', '--type', 'integer', '--compulsory'), done);
  assert.equal(
    read('a.KTP'),
    `${template}    b (integer, compulsory)\n\n[service fresh]\n  [invocation fresh_1]\n    c (integer, compulsory)\n`,
  );
  const refused = { status: 4, out: '', err: 'a.KTP: s.a: it is there already\n' };
  assert.deepEqual(ktp('new', 'a.KTP', 'other', 's.a'), refused);
  assert.equal(ktp('get', 'a.KTP', 's.a').out, 'one\n');
});

test('"-" stands for standard input', (t) => {
  const { ktp, write } = stage(t);
  write('a.KTP', template);
  assert.deepEqual(ktp('set', 'a.KTP', '-', { input: 's.a=two\ns.b=three\n' }), done);
  assert.equal(ktp('get', 'a.KTP', 's.b').out, 'three\n');
  assert.equal(ktp('get', '-', 's.a', { input: template }).out, 'one\n');
  assert.deepEqual(ktp('check', '-', { input: '[bad' }), {
    status: 3,
    out: '',
    err: '-:1:5: a line that begins with "[" ends with "]"\n',
  });
});

test('list filters by creator and service, and tells of what it cannot read', (t) => {
  const { ktp } = stage(t);
  assert.equal(ktp('list', 'web', '--creator', 'WIA').out, 'web/WIA driver.KTP\n');
  const broken = 'web/Broken.KTP:7:5: this is no line of the form NAME (TYPE) = VALUE\n';
  assert.deepEqual(ktp('list', 'web', '--creator', 'nobody'), { status: 3, out: '', err: broken });
  assert.equal(ktp('list', 'absent').status, 1);
});

test('check reads files and directories and tells the worst', (t) => {
  const { ktp } = stage(t);
  assert.deepEqual(ktp('check', 'system', colour), done);
  assert.equal(ktp('check', 'system', 'web').status, 3);
  assert.equal(ktp('check', 'absent.KTP').status, 1);
  assert.match(ktp('check', 'absent.KTP').err, /^absent\.KTP: it cannot be opened: No such file/);
});

test('diff finds differences only where there are some', (t) => {
  const { ktp, write } = stage(t);
  write('a.KTP', template);
  write('b.KTP', `[service s]\n[invocation i]\na (string) = one\n`);
  assert.deepEqual(ktp('diff', 'a.KTP', 'b.KTP'), done);
  ktp('set', 'b.KTP', 's.a=two', 's.c=');
  assert.deepEqual(ktp('diff', 'a.KTP', 'b.KTP'), {
    status: 1,
    out: '-s:i.a (string) = one\n+s:i.a (string) = two\n+s:i.c (string) = \n',
    err: '',
  });
});

test('copy names the copy and replaces only when forced', (t) => {
  const { ktp, file } = stage(t);
  fs.chmodSync(file(colour), 0o640);
  assert.deepEqual(ktp('copy', colour, 'system/Mine.KTP'), done);
  assert.equal(fs.statSync(file('system/Mine.KTP')).mode & 0o7777, 0o640);
  assert.equal(ktp('get', 'system/Mine.KTP', 'qvn_svc_general.JobTemplateName').out, 'Mine.KTP\n');
  assert.deepEqual(ktp('copy', colour, 'mailbox'), done);
  assert.deepEqual(ktp('copy', colour, 'mailbox'), {
    status: 4,
    out: '',
    err: 'mailbox/Colour scan.KTP: it is there already; --force replaces it\n',
  });
  assert.deepEqual(ktp('copy', 'web/Invoices.KTP', 'mailbox/Colour scan.KTP', '--force'), done);
  assert.equal(JSON.parse(ktp('history', 'mailbox/Colour scan.KTP', '--json').out).length, 1);
  const kept = fs.readdirSync(file('.history'), { recursive: true }).filter((name) => /ktp\./.test(name));
  assert.deepEqual(kept, []); // nothing of the files that ktp works with
  assert.equal(ktp('copy', 'web/Broken.KTP', 'new.KTP').status, 3);
  assert.equal(ktp('copy', 'web/absent.KTP', 'new.KTP').status, 1);
  assert.equal(ktp('copy', colour, 'absent/new.KTP').status, 5);
});

test('restore brings the factory template back', (t) => {
  const { ktp, read } = stage(t);
  ktp('copy', 'factory/EMAIL.KTP', 'system/EMAIL.KTP');
  const fresh = read('system/EMAIL.KTP');
  ktp('set', 'system/EMAIL.KTP', 'qvn_svc_general.JobTemplateCreator=me');
  assert.deepEqual(ktp('restore', 'system/EMAIL.KTP'), done);
  assert.equal(read('system/EMAIL.KTP'), fresh);
  assert.equal(ktp('restore', colour).status, 1);
  assert.deepEqual(ktp('restore', 'web/EMAIL.KTP', '--from', 'factory'), done);
});

test('export and import carry every text of a template', (t) => {
  const { ktp, write, read, file } = stage(t);
  write(
    'odd.KTP',
    '[service a]b]\n[invocation \\x20i\\x20]\n\\x23n\\x28 (t\\x2C\\x29, compulsory)\n= \\x20\\n\\t\\\\\\x20\n=\n= \xC3\xA9\n\\x3D (t)\n',
  );
  const json = ktp('export', 'odd.KTP').out;
  assert.deepEqual(ktp('import', 'back.KTP', { input: json }), done);
  assert.deepEqual(ktp('diff', 'odd.KTP', 'back.KTP'), done);
  assert.equal(fs.statSync(file('back.KTP')).mode, fs.statSync(file('odd.KTP')).mode);
  assert.equal(ktp('export', 'back.KTP').out, json);
  assert.equal(ktp('import', 'back.KTP', { input: json }).status, 4);
  assert.deepEqual(ktp('import', '--force', 'back.KTP', { input: '{"services": []}' }), done);
  assert.equal(read('back.KTP'), '');
});

test('JSON that describes no template is refused with its place', (t) => {
  const { ktp, directory } = stage(t);
  const wrong = [
    ['{\n  nonsense', '-:2:4: it is no JSON\n'],
    ['[]', '-: the document has to be an object\n'],
    ['{"services": {}}', '-: the document: "services" has to be a list\n'],
    ['{"services": [], "extra": 1}', '-: the document: the member "extra" is unknown\n'],
    ['{"services": [{"name": "", "invocations": []}]}', '-: a service: "name" has to be a text that is not empty\n'],
    ['{"services": [{"name": "a\\u0000", "invocations": []}]}', '-: a service: a template holds no NUL\n'],
  ];
  for (const [input, err] of wrong) {
    assert.deepEqual(ktp('import', 'new.KTP', { input }), { status: 3, out: '', err }, input);
  }
  const twice = { name: 's', invocations: [] };
  const result = ktp('import', 'new.KTP', { input: JSON.stringify({ services: [twice, twice] }) });
  assert.equal(result.status, 3);
  assert.match(result.err, /^-: it describes no template: /);
  assert.deepEqual(fs.readdirSync(directory).filter((name) => /new|^ktp/.test(name)), []);
});

test('a text that JSON cannot hold is not exported', (t) => {
  const { ktp, write } = stage(t);
  write('latin.KTP', '[service s]\n[invocation i]\na (string) = caf\xE9\n');
  assert.deepEqual(ktp('export', 'latin.KTP'), {
    status: 3,
    out: '',
    err: 'latin.KTP:3:1: JSON holds UTF-8 only, and this is none\n',
  });
});

test('history and undo use what the store keeps', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  assert.equal(ktp('history', 'a.KTP').status, 1);
  ktp('set', 'a.KTP', 's.a=two');
  ktp('set', 'a.KTP', 's.a=three');
  const rows = ktp('history', 'a.KTP').out.split('\n');
  assert.match(rows[0], /^ {5}2 {2}\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ {2}save {10}60 {2}\S+$/);
  assert.deepEqual(ktp('undo', 'a.KTP'), done);
  assert.equal(ktp('get', 'a.KTP', 's.a').out, 'two\n');
  assert.deepEqual(ktp('undo', 'a.KTP'), done);
  assert.equal(ktp('get', 'a.KTP', 's.a').out, 'three\n');
  assert.deepEqual(ktp('undo', 'a.KTP', '--to', '1'), done);
  assert.equal(read('a.KTP'), template);
  assert.equal(ktp('undo', 'a.KTP', '--to', '77').status, 1);
});

test('a history that cannot be written fails the change', (t) => {
  const { ktp, read, write } = stage(t);
  write('a.KTP', template);
  assert.deepEqual(ktp('set', 'a.KTP', 's.a=two', '--history', 'absent'), {
    status: 5,
    out: '',
    err: 'a.KTP: the directory of the history cannot be opened: No such file or directory\n',
  });
  assert.equal(ktp('copy', '--force', colour, 'a.KTP', '--history', 'absent').status, 5);
  assert.equal(read('a.KTP'), template);
  assert.deepEqual(ktp('set', 'a.KTP', 's.a=two', '--history', ''), done);
  assert.equal(ktp('history', 'a.KTP').status, 1);
});

test('explain tells lines, page and prompt', (t) => {
  const { ktp } = stage(t);
  assert.equal(
    ktp('explain', colour, 'qvn_document.Keywords').out,
    `${colour}:18: qvn_document:qvn_document_1.Keywords\ntype: string\ncompulsory: no\n` +
      'line 18: marketing\nline 19: print, web\nline 20: spring 2026\npage: edit.html\n',
  );
});

test('the pages that explain names are there', (t) => {
  const { ktp } = stage(t);
  for (const [file, address] of [[colour, 'qvn_svc_file.DocumentPath'], ['web/Invoices.KTP', 'qvn_dscrpt_metadata.MetaDataPrompt'], [colour, 'qvn_document.Keywords']]) {
    const page = JSON.parse(ktp('explain', file, address, '--json').out).page;
    assert.ok(fs.existsSync(path.join(source, 'pages', page)), page);
  }
});

test('wrong use ends with 2 and says what is missing', (t) => {
  const { ktp, read } = stage(t);
  const before = read(colour);
  for (const words of [[], ['nonsense'], ['get', colour], ['set', colour, 'no-equals'], ['set', colour, '.a=x'],
    ['get', colour, 'service'], ['get', colour, 'service.'], ['set', colour, resolution], ['show', colour, 'more'], ['show', '--nonsense', colour]]) {
    const result = ktp(...words);
    assert.equal(result.status, 2, words.join(' '));
    assert.notEqual(result.err, '', words.join(' '));
    assert.equal(result.out, '', words.join(' '));
  }
  assert.equal(read(colour), before);
  assert.equal(ktp('--help').status, 0);
  assert.match(ktp('set', '--help').out, /^Usage: ktp set \[OPTIONS\] FILE ADDRESS=VALUE\.\.\.$/m);
});

test('a file that is no regular one is not permitted, a missing one is not found', (t) => {
  const { ktp } = stage(t);
  assert.equal(ktp('show', 'web').status, 4);
  assert.equal(ktp('check', 'a'.repeat(300)).status, 1); // a name that the file system refuses to look at
  assert.equal(ktp('get', 'absent', 's.a').status, 1);
});

test('the default that all jobs start from is changed by force only', (t) => {
  const probe = spawnSync('bwrap', ['--ro-bind', '/', '/', 'true']);
  if (probe.status !== 0) return t.skip('bubblewrap cannot make a namespace here');
  const { directory, environment } = stage(t);
  const run = (script) => spawnSync(
    'bwrap',
    ['--ro-bind', '/', '/', '--tmpfs', '/tmp', '--ro-bind', path.dirname(path.dirname(environment.PATH.split(':')[0])), path.dirname(path.dirname(environment.PATH.split(':')[0])),
      '--bind', directory, '/tmp/template/pool', '--chdir', '/tmp/template/pool', '--setenv', 'TMPDIR', '/tmp', '--setenv', 'KTP_HISTORY', '', 'bash', '-c', script],
    { env: environment, encoding: 'utf8' },
  );
  const file = 'system/../system/default.ktp';
  for (const script of [`ktp set ${file} s.a=x`, `ktp copy --history "" web/Invoices.KTP ${file}`, `ktp restore ${file}`,
    `ktp new ${file} s`, `ktp delete ${file} qvn_svc_general`, `echo '{"services": []}' | ktp import ${file}`, `ktp undo ${file}`]) {
    const result = run(script);
    assert.equal(result.status, 4, script + result.stderr);
    assert.match(result.stderr, /all new scan jobs start from this template; --force changes it all the same\n$/);
  }
  assert.equal(run(`ktp set --force ${file} qvn_svc_general.JobTemplateCreator=me`).status, 0);
  assert.equal(run(`ktp get ${file} qvn_svc_general.JobTemplateCreator`).stdout, 'me\n');
});

test('bash completes verbs, files and addresses', (t) => {
  const { directory, environment, write } = stage(t);
  write('a.KTP', template);
  const complete = (line) => {
    const words = line.split(/(?<=[ :=])(?=.)|(?<=[^ ])(?=[:=])/).map((word) => word.trim());
    const script = `compopt() { :; }; source '${path.join(source, 'cli/ktp.bash-completion')}'
COMP_LINE=$1; COMP_POINT=\${#1}; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ktp; printf '%s\\n' "\${COMPREPLY[@]}"`;
    const result = spawnSync('bash', ['-c', script, 'bash', line, ...words], { cwd: directory, env: environment, encoding: 'utf8' });
    assert.equal(result.stderr, '');
    return result.stdout.trim().split('\n');
  };
  assert.deepEqual(complete('ktp ex'), ['export', 'explain']);
  assert.deepEqual(complete('ktp show a'), ['a.KTP']);
  assert.deepEqual(complete('ktp get a.KTP s'), ['s:i.a']);
  assert.deepEqual(complete('ktp get a.KTP s:i'), ['i.a']);
});
