// Configuration, pages and log taken anew while platend serves.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import test from 'node:test';

import {
  emptyDevice,
  program,
  request,
  startPlatend,
  temporaryDirectory,
  writeFiles,
} from './platend.mjs';

const page = (text) => `<!DOCTYPE html><title>x</title><p>${text}`;

/** A platend without a sandbox, whose configuration file is `conf` in a directory with more files. */
async function serving(t, files, conf) {
  const directory = temporaryDirectory(t);
  emptyDevice(directory);
  writeFiles(directory, { ...files, 'etc/platend.conf': `state = ../state\n${conf}` });
  const args = ['--settings', path.join(directory, 'etc')];
  const platend = await startPlatend(t, { data: false, args });
  const configure = (text) => writeFiles(directory, { 'etc/platend.conf': `state = ../state\n${text}` });
  return { directory, platend, configure };
}

/** Tells platend to reload and waits for the n-th line of the log that says how that went. */
async function reload(platend, pattern, n = 1) {
  platend.child.kill('SIGHUP');
  await platend.logged(new RegExp(`(?:${pattern}[^]*){${n}}`));
}

/** Waits until `file` holds a match of `pattern`. */
async function written(file, pattern) {
  while (!fs.existsSync(file) || !pattern.test(fs.readFileSync(file, 'utf8'))) {
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
}

/** Waits until platend has `count` processes. */
async function processes(platend, count) {
  while (platend.processes().length !== count) await new Promise((resolve) => setTimeout(resolve, 5));
}

/** Asks for pages, over new connections and over a kept one, until the function it returns is called. */
function load(platend) {
  const statuses = new Map();
  let over = false;
  const client = async (agent) => {
    while (!over) {
      const { status } = await request(platend.address, '/', { agent });
      statuses.set(status, (statuses.get(status) ?? 0) + 1);
    }
    if (agent) agent.destroy();
  };
  const kept = () => new http.Agent({ keepAlive: true, maxSockets: 1 });
  const clients = [client(false), client(false), client(kept()), client(kept())];
  return async () => {
    over = true;
    await Promise.all(clients);
    return statuses;
  };
}

test('reloads under load lose no request', async (t) => {
  const { platend, configure } = await serving(
    t,
    { 'pages/index.html': page('fine') },
    'pages = ../pages\nworkers = 1\n',
  );
  const end = load(platend);
  for (let n = 1; n <= 10; ++n) {
    configure(`pages = ../pages\nworkers = ${(n % 3) + 1}\n`);
    await reload(platend, 'Reloaded on signal 1\\.', n);
  }
  const statuses = await end();
  assert.deepEqual([...statuses.keys()], [200]);
  await processes(platend, 4);
});

test('a reload takes over pages, their static files, phrases and options', async (t) => {
  const { directory, platend, configure } = await serving(
    t,
    {
      'old/index.html': page('old'),
      'old/static/a.txt': 'old',
      'new/index.html': page('<!--#phrase id="7" format="html"-->'),
      'new/static/a.txt': 'new',
    },
    'pages = ../old\n',
  );
  assert.match((await platend.get('/')).body, /<p>old/);
  assert.equal((await platend.get('/static/a.txt')).body, 'old');
  writeFiles(directory, { 'etc/phrases/en-us.txt': '7\tnew words\n' });
  configure('pages = ../new\nlog-level = 8\nworkers = 1\n');
  await reload(platend, 'Reloaded');
  await processes(platend, 3);
  assert.match((await platend.get('/')).body, /<p>new words/);
  // The web server may keep what it knows of a file for a moment.
  while ((await platend.get('/static/a.txt')).body !== 'new') continue;
  await platend.logged(/ 8 /);
});

test('what is faulty is told and not taken over', async (t) => {
  const { directory, platend, configure } = await serving(
    t,
    { 'pages/index.html': page('fine') },
    'pages = ../pages\n',
  );
  const workers = platend.processes();
  configure('pages = ../pages\nport = x\n');
  await reload(platend, 'Not reloaded: /.*/etc/platend\\.conf:3: port takes a number .*');
  configure('pages = ../none\n');
  await reload(platend, 'Not reloaded: the pages in /.*/none cannot be read: .*');
  configure('pages = ../pages\n');
  writeFiles(directory, { 'pages/broken.html': '<p><!--#parser fn="Nothing_fn" arg=""-->' });
  await reload(platend, 'Not reloaded: broken\\.html:1:4: .*Nothing_fn');
  fs.rmSync(path.join(directory, 'pages/broken.html'));
  writeFiles(directory, { 'etc/phrases/en-us.txt': 'no tab\n' });
  await reload(platend, 'Not reloaded: /.*/etc/phrases/en-us\\.txt:1: no tab');
  writeFiles(directory, { 'etc/phrases/en-us.txt': '1\tOne\n', 'etc/paths.txt': 'no tab\n' });
  await reload(platend, 'Not reloaded: /.*/etc/paths\\.txt:1: no tab');
  assert.match((await platend.get('/')).body, /<p>fine/);
  assert.deepEqual(platend.processes(), workers);
});

test('nothing is taken over when the log file cannot be written', async (t) => {
  const pages = { 'pages/index.html': page('<!--#phrase id="7" format="html"-->') };
  const every = 'pages = ../pages\nworkers = 1\nworker-requests = 1\n';
  const { directory, platend, configure } = await serving(t, pages, every);
  const before = (await platend.get('/')).body;
  writeFiles(directory, { 'etc/phrases/en-us.txt': '7\tnew words\n' });
  configure(`${every}log-file = ../none/platend.log\n`);
  await reload(platend, 'Not reloaded: the log file /.*/none/platend\\.log cannot be written: .*');
  assert.equal((await platend.get('/')).body, before);
  assert.equal((await platend.get('/')).body, before);
});

test('a setting that counts from the next start on is named and stays', async (t) => {
  const { platend, configure } = await serving(t, { 'pages/index.html': page('fine') }, 'pages = ../pages\n');
  configure('pages = ../pages\naddress = 127.0.0.2\nrequest-time = 7\n');
  await reload(platend, 'Reloaded');
  assert.match(platend.log, /The setting address has changed and counts from the next start on\.\n/);
  assert.match(platend.log, /The setting request-time has changed and counts/);
  assert.equal((await platend.get('/')).status, 200);
});

for (const signal of ['SIGUSR1', 'SIGHUP']) {
  test(`${signal} goes on in a new log file, also in the sandbox`, async (t) => {
    const log = path.join(temporaryDirectory(t), 'platend.log');
    const platend = await startPlatend(t, {
      pages: { 'index.html': page('fine') },
      args: ['--log-file', log, '--log-level', '8'],
    });
    const end = load(platend);
    fs.renameSync(log, `${log}.1`);
    platend.child.kill(signal);
    await written(log, /(Reopened the log on signal 10|Reloaded on signal 1)\.\n/);
    await written(log, /Worker \d+ has ended as planned.*\n[^]*Worker \d+ has ended as planned/);
    assert.deepEqual([...(await end()).keys()], [200]);
    const former = fs.statSync(`${log}.1`).size;
    await platend.stop();
    assert.equal(fs.statSync(`${log}.1`).size, former);
    assert.match(fs.readFileSync(log, 'utf8'), /Stopping on signal 15\.\n/);
  });
}

test('the end of its terminal stops platend', async (t) => {
  const directory = temporaryDirectory(t);
  emptyDevice(path.join(directory, 'data'));
  writeFiles(directory, { 'pages/index.html': page('fine') });
  const command = `exec ${program} --data data --pages pages --port 0`;
  const terminal = spawn('script', ['-qefc', command, '/dev/null'], { cwd: directory });
  const address = await new Promise((resolve) => {
    let output = '';
    terminal.stdout.setEncoding('utf8').on('data', (text) => {
      output += text;
      const line = output.match(/Platen serves (\S+)\s/);
      if (line) resolve(line[1]);
    });
  });
  assert.equal((await request(address, '/')).status, 200);
  terminal.kill('SIGKILL');
  await once(terminal, 'exit');
  for (;;) {
    const error = await request(address, '/').catch((reason) => reason);
    if (error.code === 'ECONNREFUSED') break;
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
});
