// The workers behind another web server: platend --fastcgi, spoken to record by record.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import test from 'node:test';

import {
  emptyDevice,
  faultModule,
  program,
  request,
  run,
  startPlatend,
  temporaryDirectory,
  writeFiles,
} from './platend.mjs';

const tag = (word) =>
  `<!--#parser fn="HTTP_Parser_Get_fn" arg="${word} NULL x string" format="html"-->`;

const pages = {
  'index.html': '<!DOCTYPE html><title>Fine</title><p>Fine',
  'gate.html': `<!DOCTYPE html><title>Gate</title><p>${tag('gate')}`,
  'mark.html': `<!DOCTYPE html><title>Mark</title><p>${tag('mark')}`,
  'abort.html': `<!DOCTYPE html><title>Abort</title><p>${tag('abort')}`,
  'hang.html': `<!DOCTYPE html><title>Hang</title><p>${tag('hang')}`,
};

const BEGIN = 1;
const END = 3;
const PARAMS = 4;
const STDIN = 5;
const STDOUT = 6;

function record(type, id, content) {
  const header = Buffer.from([1, type, id >> 8, id & 255, content.length >> 8, content.length & 255, 0, 0]);
  return Buffer.concat([header, content]);
}

function pair(name, value) {
  const size = Buffer.alloc(8);
  size.writeUInt32BE(0x80000000 + name.length, 0);
  size.writeUInt32BE(0x80000000 + Buffer.byteLength(value), 4);
  return Buffer.concat([size, Buffer.from(name + value)]);
}

/** The records of a request for `target` with the id `id`, of a front that would keep the connection. */
function requestRecords(target, id) {
  const parameters = { REQUEST_METHOD: 'GET', REQUEST_URI: target, SCRIPT_NAME: '/' };
  return Buffer.concat([
    record(BEGIN, id, Buffer.from([0, 1, 1, 0, 0, 0, 0, 0])),
    record(PARAMS, id, Buffer.concat(Object.entries(parameters).map(([n, v]) => pair(n, v)))),
    record(PARAMS, id, Buffer.alloc(0)),
    record(STDIN, id, Buffer.alloc(0)),
  ]);
}

/** Splits an answer into its records, whose padding is dropped. */
function readRecords(bytes) {
  const records = [];
  for (let at = 0; at < bytes.length; ) {
    const length = bytes.readUInt16BE(at + 4);
    records.push({
      type: bytes[at + 1],
      id: bytes.readUInt16BE(at + 2),
      content: bytes.subarray(at + 8, at + 8 + length),
    });
    at += 8 + length + bytes[at + 6];
  }
  return records;
}

/** Asks the workers themselves; resolves to the text of the answer once the connection is closed. */
async function ask(socketPath, target, id = 1) {
  const socket = net.connect(socketPath);
  const pieces = [];
  socket.on('data', (piece) => pieces.push(piece));
  socket.write(requestRecords(target, id));
  await once(socket, 'close');
  const records = readRecords(Buffer.concat(pieces));
  assert.ok(records.every((one) => one.id === id));
  assert.deepEqual(records.at(-1), { type: END, id, content: Buffer.alloc(8) });
  const output = records.slice(0, -1);
  assert.ok(output.every((one) => one.type === STDOUT));
  return Buffer.concat(output.map((one) => one.content)).toString();
}

async function startWorkers(t, args = []) {
  const socket = path.join(temporaryDirectory(t), 'workers.sock');
  const platend = await startPlatend(t, {
    pages,
    args: ['--fastcgi', socket, '--module', faultModule, ...args],
  });
  return { platend, socket };
}

test('a request is answered in whole records and its connection closed', async (t) => {
  const { platend, socket } = await startWorkers(t);
  assert.ok(platend.output.startsWith(`Platen serves FastCGI on ${socket}\n`));
  assert.equal(fs.statSync(socket).mode & 0o777, 0o600);
  const answer = await ask(socket, '/?', 0x1234);
  assert.match(answer, /^Status: 200 OK\r\nContent-Type: text\/html; charset=utf-8\r\n/);
  assert.ok(answer.endsWith(`\r\n\r\n${pages['index.html']}`));
  assert.equal(await platend.stop(), 0);
  assert.equal(fs.existsSync(socket), false);
});

test('a worker that ends answers with the id of its request', async (t) => {
  const { socket } = await startWorkers(t, ['--request-time', '1', '--workers', '1']);
  assert.match(await ask(socket, '/abort.html', 513), /^Status: 500 Internal Server Error\r\n/);
  assert.match(await ask(socket, '/hang.html', 770), /^Status: 504 Gateway Timeout\r\n/);
  assert.match(await ask(socket, '/', 3), /^Status: 200 OK\r\n/);
});

test('a queued request whose front has given up is not run', async (t) => {
  const { platend, socket } = await startWorkers(t, ['--workers', '1']);
  execFileSync('mkfifo', ['-m', '666', path.join(platend.data, 'spool/gate')]);
  const first = ask(socket, '/gate.html');
  const gate = await fs.promises.open(path.join(platend.data, 'spool/gate'), 'w');
  const impatient = net.connect(socket);
  impatient.end(requestRecords('/mark.html', 1));
  await once(impatient, 'finish');
  const last = ask(socket, '/');
  await gate.close();
  assert.match(await first, /^Status: 200 OK/);
  assert.match(await last, /^Status: 200 OK/);
  assert.equal(fs.existsSync(path.join(platend.data, 'spool/mark')), false);
  assert.match(await ask(socket, '/mark.html'), /^Status: 200 OK/);
  assert.equal(fs.existsSync(path.join(platend.data, 'spool/mark')), true);
});

test('what is no request costs at most a worker, which is replaced', async (t) => {
  const { socket } = await startWorkers(t, ['--workers', '1']);
  for (const bytes of [Buffer.alloc(64, 0xff), Buffer.from('GET / HTTP/1.0\r\n\r\n'), Buffer.alloc(0)]) {
    const stranger = net.connect(socket);
    stranger.on('error', () => {}).resume().end(bytes);
    await once(stranger, 'close');
    assert.match(await ask(socket, '/'), /^Status: 200 OK/);
  }
});

test('the socket of a platend that was killed is taken over, that of a live one is not', async (t) => {
  const { platend, socket } = await startWorkers(t);
  const directory = temporaryDirectory(t);
  emptyDevice(path.join(directory, 'data'));
  writeFiles(path.join(directory, 'pages'), { 'index.html': pages['index.html'] });
  const args = ['--data', `${directory}/data`, '--pages', `${directory}/pages`, '--fastcgi', socket];
  const { code, stderr } = await run(program, args);
  assert.equal(code, 1);
  assert.equal(
    stderr,
    `platend: the socket ${socket} is in use by another program; ` +
      'stop that, or choose another with --fastcgi\n',
  );
  assert.match(await ask(socket, '/'), /^Status: 200 OK/);
  await platend.stop('SIGKILL');
  await platend.gone();
  assert.equal(fs.existsSync(socket), true);
  const heir = await startPlatend(t, { pages, args: ['--fastcgi', socket] });
  assert.match(await ask(socket, '/'), /^Status: 200 OK/);
  await heir.stop();
});

test('a file at the path of the socket is left alone', async (t) => {
  const directory = temporaryDirectory(t);
  emptyDevice(path.join(directory, 'data'));
  writeFiles(directory, { 'pages/index.html': pages['index.html'], socket: 'mine' });
  const { code, stderr } = await run(
    program,
    ['--data', 'data', '--pages', 'pages', '--fastcgi', 'socket'],
    { cwd: directory },
  );
  assert.equal(code, 1);
  assert.match(stderr, /^platend: the socket socket is in use/);
  assert.equal(fs.readFileSync(path.join(directory, 'socket'), 'utf8'), 'mine');
});

test('a lighttpd of somebody else serves the pages', async (t) => {
  const { socket } = await startWorkers(t);
  const directory = temporaryDirectory(t);
  writeFiles(directory, {
    'lighttpd.conf':
      `server.bind = "${directory}/http.sock"\nserver.document-root = "${directory}"\n` +
      'server.modules = ( "mod_fastcgi" )\n' +
      `fastcgi.server = ( "/" => (( "socket" => "${socket}", "check-local" => "disable" )) )\n`,
  });
  const lighttpd = spawn('/usr/sbin/lighttpd', ['-D', '-f', `${directory}/lighttpd.conf`]);
  t.after(() => lighttpd.kill('SIGKILL'));
  await once(lighttpd.stderr, 'data');
  const answer = await request({ socketPath: `${directory}/http.sock` }, '/');
  assert.deepEqual([answer.status, answer.body], [200, pages['index.html']]);
  assert.ok('content-security-policy' in answer.headers);
});
