// platend's start and end: options, what is missing or wrong, and what is left behind.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';

import {
  build,
  emptyDevice,
  program,
  request,
  run,
  source,
  startPlatend,
  temporaryDirectory,
  writeFiles,
} from './platend.mjs';

const finePages = { 'index.html': '<!DOCTYPE html><title>Fine</title><p>Fine' };

/** A directory with a device in data/ and pages in pages/; runs platend there with `args`. */
function workshop(t, pages = finePages) {
  const directory = temporaryDirectory(t);
  emptyDevice(path.join(directory, 'data'));
  writeFiles(path.join(directory, 'pages'), pages);
  const platend = (args, options = {}) =>
    run(program, ['--data', 'data', '--pages', 'pages', '--port', '0', ...args], {
      cwd: directory,
      ...options,
    });
  return { directory, platend };
}

/** Waits until nobody listens at the address any more. */
async function refused(address) {
  for (;;) {
    const error = await request(address, '/').catch((reason) => reason);
    if (error.code === 'ECONNREFUSED') return;
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
}

test('--help and --version print and end', async () => {
  const help = await run(program, ['--help']);
  assert.equal(help.code, 0);
  assert.match(help.stdout, /^platend serves the pages of a networked scanner\.\n/);
  assert.match(help.stdout, /\n {2}--port N +port of the web server/);
  assert.equal(help.stderr, '');
  const version = await run(program, ['--version']);
  assert.deepEqual([version.code, version.stderr], [0, '']);
  assert.match(version.stdout, /^platend \d+\.\d+\.\d+\n$/);
});

test('a wrong option ends platend with status 2', async () => {
  const { code, stdout, stderr } = await run(program, ['--port', 'many']);
  assert.deepEqual([code, stdout], [2, '']);
  assert.equal(
    stderr,
    'platend: --port takes a number from 0 to 65535, not "many"\n' +
      'platend --help tells the options.\n',
  );
});

test('--check tells each fault of the pages with page, line and column', async (t) => {
  const { directory, platend } = workshop(t, {
    ...finePages,
    'broken.html': '<!DOCTYPE html><title>x</title>\n<p><!--#parser fn="Nothing_fn" arg=""-->',
  });
  const broken = await platend(['--check']);
  assert.equal(broken.code, 1);
  assert.match(broken.stdout, /^broken\.html:2:4: .*Nothing_fn.*\n$/);
  const refused = await platend([]);
  assert.equal(refused.code, 1);
  assert.equal(refused.stderr, broken.stdout);
  fs.rmSync(path.join(directory, 'pages/broken.html'));
  const { code, stdout, stderr } = await platend(['--check']);
  assert.deepEqual([code, stdout, stderr], [0, '', '']);
});

test('--check and every start refuse a phrase file that is broken', async (t) => {
  const { directory, platend } = workshop(t);
  writeFiles(directory, {
    'pages/phrases/fr-fr.txt': '# mots\nstart.title Modèles\n',
    'data/etc/phrases/en-us.txt': '10\tNetwork\n10\tFax\n',
  });
  const ofPages = 'pages/phrases/fr-fr.txt:2: no tab between key and text\n';
  const ofDevice = "data/etc/phrases/en-us.txt:2: '10' already stands in line 1\n";
  assert.deepEqual(await platend(['--check']), { code: 1, signal: null, stdout: ofPages, stderr: '' });
  fs.rmSync(path.join(directory, 'pages/phrases/fr-fr.txt'));
  assert.deepEqual(await platend([]), { code: 1, signal: null, stdout: '', stderr: ofDevice });
});

test('--check and every start refuse names of clone groups that their list cannot hold', async (t) => {
  const { directory, platend } = workshop(t);
  const data = path.join(directory, 'data');
  writeFiles(data, {
    'etc/paths.txt': 'nc_dlms_data\tdlms\n',
    'etc/phrases/de-de.txt': '# Namen\n10\tNetz, Fax\n11\tLos?\n101\tAdressen\n102\tWie?\n',
    'etc/phrases/en-us.txt': '10\tNetwork\n1\tWhy, oh\n101\tAddresses,',
    'dlms/clone/data/clone_file_webui': '1,10,11.key == on,101, 102 ,x\n',
  });
  const fault = (line, token) =>
    `data/etc/phrases/${line}: the phrase ${token} names a clone group and may hold neither "," ` +
    'nor "?"; write it without\n';
  const faults = fault('de-de.txt:2', 10) + fault('de-de.txt:5', 102) + fault('en-us.txt:3', 101);
  assert.deepEqual(await platend(['--check']), { code: 1, signal: null, stdout: faults, stderr: '' });
  assert.deepEqual(await platend([]), { code: 1, signal: null, stdout: '', stderr: faults });
  fs.rmSync(path.join(data, 'dlms'), { recursive: true });
  assert.equal((await platend(['--check'])).code, 0);
});

test('--check tells file, line and setting of each mistake of the configuration', async (t) => {
  const { directory, platend } = workshop(t);
  const file = path.join(directory, 'data/etc/platend.conf');
  fs.writeFileSync(file, '# mine\nport = many\nprot = 1\nworkers = 1\nworkers = 2\n');
  const lines =
    'data/etc/platend.conf:2: port takes a number from 0 to 65535, not "many"\n' +
    'data/etc/platend.conf:3: there is no setting "prot"; platend --help tells the options\n' +
    'data/etc/platend.conf:5: workers already stands in line 4\n';
  const checked = await platend(['--check']);
  assert.deepEqual([checked.code, checked.stdout, checked.stderr], [1, lines, '']);
  const started = await platend([]);
  assert.deepEqual([started.code, started.stdout, started.stderr], [1, '', lines]);
  const other = await platend(['--check', '--config', 'none']);
  assert.equal(other.stdout, 'none: cannot be read: No such file or directory\n');
});

test('the configuration file is read inside the sandbox too', async (t) => {
  const directory = temporaryDirectory(t);
  const pages = path.join(directory, 'pages');
  writeFiles(pages, finePages);
  emptyDevice(path.join(directory, 'data'));
  writeFiles(directory, { 'my.conf': 'data = data\npages = pages\nlog-file = log\nworkers = 3\n' });
  const platend = await startPlatend(t, {
    data: false,
    args: ['--config', path.join(directory, 'my.conf')],
  });
  assert.match((await platend.get('/')).body, /Fine/);
  assert.equal(platend.processes().length, 7, 'platend, bwrap, platend, lighttpd, three workers');
  await platend.stop();
  assert.equal(platend.log, '');
  assert.match(fs.readFileSync(path.join(directory, 'log'), 'utf8'), /Stopping on signal 15\.\n/);
});

test('missing directories of the device are told with what to do', async (t) => {
  const { directory } = workshop(t);
  const { code, stderr } = await runIn(
    [
      ...['--tmpfs', '/var/spool', '--tmpfs', '/tmp'],
      ...[source, build, directory].flatMap((place) => ['--bind', place, place]), // they may lie in /tmp
      ...['--dir', '/tmp/template/pool'],
    ],
    ['--check', '--pages', 'pages', '--settings', 'data/etc'],
    { cwd: directory },
  );
  assert.equal(code, 0);
  const user = os.userInfo().username;
  assert.equal(
    stderr,
    'platend: /tarn/template/pool (templates that last) cannot be used: No such file or directory; ' +
      `make it: install -d -o ${user} /tarn/template/pool\n` +
      'platend: /var/spool/nc (mailbox folders) cannot be used: No such file or directory; ' +
      `make it: install -d -o ${user} /var/spool/nc\n`,
  );
});

const refusals = [
  {
    name: 'missing data directory',
    args: ['--data', 'none'],
    error: /^platend: the data directory \/.*\/none does not exist; make it, or copy samples\/ to it\n$/,
  },
  {
    name: 'data directory that is a file',
    args: ['--data', 'pages/index.html'],
    error: /^platend: the data directory \/.*\/index\.html is no directory; choose another/,
  },
  {
    name: 'data directory above a path of the device',
    args: ['--data', '/tmp'],
    error: /^platend: the data directory \/tmp overlaps with the device's path \/tmp\/template\/pool/,
  },
  {
    name: 'missing pages',
    args: ['--pages', 'none'],
    error: /^the pages in none cannot be read: No such file or directory; .* --pages\n$/,
  },
  {
    name: 'missing module',
    args: ['--module', '/none/module.so'],
    error: /^platend: the parser module cannot be loaded: \/none\/module\.so: .* --module\n$/,
  },
  {
    name: 'module without a function',
    args: ['--module', path.join(build, 'tests/host/libincomplete_module.so')],
    error: /^platend: neither \/.*\/libincomplete_module\.so nor .* HTTP_Parser_JS_Get_fn; /,
  },
  {
    name: 'library that is no module',
    args: ['--module', path.join(build, 'store/libtemplateWrapper.so')],
    error: /^platend: neither \/.*\/libtemplateWrapper\.so nor .* HTTP_Open_Parser_fn; /,
  },
  {
    name: 'missing settings',
    args: ['--settings', 'none'],
    error: /^platend: \/.*\/none\/paths\.txt: cannot be read: No such file or directory\n$/,
  },
  {
    name: 'address that is none',
    args: ['--address', 'localhost'],
    error: /^platend: "localhost" is no IP address; --address takes one such as 127\.0\.0\.1\n$/,
  },
  {
    name: 'log file in a missing directory',
    args: ['--log-file', 'none/log'],
    error: /^platend: the log file none\/log cannot be written: No such file or directory; /,
  },
];

for (const { name, args, error } of refusals) {
  test(`${name}: a clear error and nothing left`, async (t) => {
    const { directory, platend } = workshop(t);
    const before = fs.readdirSync(directory);
    const { code, stdout, stderr } = await platend(args);
    assert.deepEqual([code, stdout], [1, '']);
    assert.match(stderr, error);
    assert.equal(stderr.trimEnd().split('\n').length, 1, stderr);
    assert.deepEqual(fs.readdirSync(directory), before);
  });
}

test('a data directory that may not be read is named', async (t) => {
  const { directory } = workshop(t);
  const data = path.join(directory, 'data');
  fs.chmodSync(data, 0);
  const powerless = ['--unshare-user', '--uid', '65534', '--dev-bind', '/', '/', program];
  const { code, stderr } = await run('bwrap', [...powerless, '--data', data], { cwd: directory });
  fs.chmodSync(data, 0o700);
  assert.equal(code, 1);
  assert.equal(
    stderr,
    `platend: the data directory ${data} cannot be read and written: Permission denied; ` +
      'change its owner or its mode\n',
  );
});

test('an occupied port is named', async (t) => {
  const { platend } = workshop(t);
  const server = net.createServer().listen(0, '127.0.0.1');
  t.after(() => server.close());
  await new Promise((resolve) => server.once('listening', resolve));
  const { port } = server.address();
  const { code, stderr } = await platend(['--port', String(port)]);
  assert.equal(code, 1);
  assert.equal(
    stderr,
    `platend: port ${port} of 127.0.0.1 is in use by another program; ` +
      'stop that, or choose another with --port\n',
  );
});

/** Runs platend with `args` in a file system that bwrap changes by `changes`. */
function runIn(changes, args, options) {
  return run('bwrap', ['--dev-bind', '/', '/', ...changes, program, ...args], options);
}

/** Runs platend where the program `hidden` may not be run. */
function runWithout(hidden, args, options) {
  return runIn(['--ro-bind', '/dev/null', fs.realpathSync(hidden)], args, options);
}

test('a missing bwrap is named', async (t) => {
  const { directory, platend } = workshop(t);
  const args = ['--data', 'data', '--pages', 'pages', '--port', '0'];
  const { code, stderr } = await runWithout('/usr/bin/bwrap', args, { cwd: directory });
  assert.equal(code, 1);
  assert.match(stderr, /^platend: bwrap is not installed, which --data needs; install it \(apt-get/);
  assert.equal((await platend(['--check'])).code, 0);
});

test('a sandbox that is refused is told with what to do', async (t) => {
  const { directory, platend } = workshop(t);
  writeFiles(path.join(directory, 'bin'), { bwrap: '#!/bin/sh\necho "bwrap: no" >&2\nexit 1\n' });
  fs.chmodSync(path.join(directory, 'bin/bwrap'), 0o755);
  const { code, stderr } = await platend([], {
    env: { ...process.env, PATH: `${directory}/bin:${process.env.PATH}` },
  });
  assert.equal(code, 1);
  assert.match(stderr, /^bwrap: no\nplatend: there is no sandbox to be had, .* user namespaces/);
});

/** The options of a platend without a sandbox, which writes nowhere but in its directory. */
const plain = ['--settings', 'data/etc', '--state', 'state', '--pages', 'pages', '--port', '0'];

test('a missing lighttpd is named and the private directory removed', async (t) => {
  const { directory } = workshop(t);
  const temporary = path.join(directory, 'tmp');
  fs.mkdirSync(temporary);
  const { code, stderr } = await runWithout('/usr/sbin/lighttpd', plain, {
    cwd: directory,
    env: { ...process.env, TMPDIR: temporary },
  });
  assert.equal(code, 1);
  assert.match(stderr, /^platend: lighttpd is not installed; install it \(apt-get install lighttpd\)/m);
  assert.deepEqual(fs.readdirSync(temporary), []);
});

test('a lighttpd that ends at its start ends platend', async (t) => {
  const { directory } = workshop(t);
  writeFiles(path.join(directory, 'bin'), { lighttpd: '#!/bin/sh\necho broken >&2\nexit 3\n' });
  fs.chmodSync(path.join(directory, 'bin/lighttpd'), 0o755);
  const { code, stdout, stderr } = await run(program, plain, {
    cwd: directory,
    env: { ...process.env, PATH: `${directory}/bin:${process.env.PATH}` },
  });
  assert.deepEqual([code, stdout], [1, '']);
  assert.match(stderr, / 5 lighttpd:0 broken\n/);
  assert.match(stderr, /\nplatend: lighttpd ended before it served \(exit status 3\); /);
});

for (const signal of ['SIGTERM', 'SIGINT', 'SIGKILL']) {
  test(`${signal} leaves no process and no open port`, async (t) => {
    const platend = await startPlatend(t, { pages: finePages });
    assert.equal((await platend.get('/')).status, 200);
    assert.ok(platend.processes().length >= 5, 'platend, bwrap, platend, lighttpd, workers');
    await platend.stop(signal);
    assert.equal(platend.child.exitCode, signal === 'SIGKILL' ? null : 0);
    await platend.gone();
    await refused(platend.address);
  });
}

test('without a sandbox the private directory goes when platend stops', async (t) => {
  const { directory } = workshop(t);
  const temporary = path.join(directory, 'tmp "x');
  fs.mkdirSync(temporary);
  const platend = await startPlatend(t, {
    pages: finePages,
    data: false,
    args: ['--settings', path.join(directory, 'data/etc'), '--state', path.join(directory, 'state')],
    options: { env: { ...process.env, TMPDIR: temporary } },
  });
  assert.equal((await platend.get('/')).status, 200);
  assert.equal(fs.readdirSync(temporary).length, 1);
  assert.equal(await platend.stop(), 0);
  assert.deepEqual(fs.readdirSync(temporary), []);
});

test('--log-file takes the log', async (t) => {
  const directory = temporaryDirectory(t);
  const log = path.join(directory, 'log');
  const platend = await startPlatend(t, { pages: finePages, args: ['--log-file', log] });
  await platend.stop();
  assert.equal(platend.log, '');
  assert.match(fs.readFileSync(log, 'utf8'), /Stopping on signal 15\.\n/);
});
