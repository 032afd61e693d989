// HTTPS: the certificate made, used, renewed and refused, and plain HTTP led to it.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { X509Certificate } from 'node:crypto';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import test from 'node:test';
import tls from 'node:tls';

import { program, request, run, startPlatend, temporaryDirectory } from './platend.mjs';

const form = '<form method="post" action="/do/login"><!--#token--></form>';
const pages = { 'index.html': `<!DOCTYPE html><title>x</title>${form}` };

/** Makes a key and a certificate for `names` in `directory`; returns the two options that use them. */
async function certificate(directory, ...names) {
  const made = await run(program, ['--state', directory, 'certificate', ...names]);
  assert.deepEqual([made.code, made.stderr], [0, '']);
  const key = path.join(directory, 'private-key.pem');
  return ['--certificate', path.join(directory, 'certificate.pem'), '--private-key', key];
}

/** Subject of the certificate that the server at `address` shows. */
async function shownSubject(address) {
  const { hostname, port } = new URL(address);
  const socket = tls.connect({ host: hostname, port, rejectUnauthorized: false });
  await new Promise((resolve, reject) => socket.on('secureConnect', resolve).on('error', reject));
  const { subject } = socket.getPeerX509Certificate();
  socket.destroy();
  return subject;
}

/** A port that was free a moment ago. */
async function freePort() {
  const server = net.createServer().listen(0, '127.0.0.1');
  await new Promise((resolve) => server.once('listening', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return String(port);
}

test('a self-signed certificate is made once, with a key for its owner alone', async (t) => {
  const state = temporaryDirectory(t);
  const make = () => run(program, ['--state', state, 'certificate', 'scanner.example', '192.0.2.7']);
  const { code, stdout, stderr } = await make();
  assert.deepEqual([code, stderr], [0, '']);
  assert.equal(
    stdout,
    `certificate = ${state}/certificate.pem\nprivate-key = ${state}/private-key.pem\n`,
  );
  const made = new X509Certificate(fs.readFileSync(path.join(state, 'certificate.pem')));
  assert.equal(made.subject, 'CN=scanner.example');
  assert.equal(made.subjectAltName, 'DNS:scanner.example, IP Address:192.0.2.7');
  assert.equal(fs.statSync(path.join(state, 'private-key.pem')).mode & 0o777, 0o600);
  const again = await make();
  assert.equal(again.code, 1);
  assert.equal(
    again.stderr,
    `platend certificate: ${state}/certificate.pem is there already; move it away first\n`,
  );
  assert.deepEqual(fs.readdirSync(state).sort(), ['certificate.pem', 'private-key.pem']);
});

test('without names a certificate is for this machine', async (t) => {
  const state = temporaryDirectory(t);
  await certificate(state);
  const made = new X509Certificate(fs.readFileSync(path.join(state, 'certificate.pem')));
  assert.match(made.subjectAltName, /DNS:localhost, IP Address:127\.0\.0\.1, IP Address:/);
});

test('a name that is none makes nothing', async (t) => {
  const state = temporaryDirectory(t);
  for (const name of ['a b', '', '-x', 'a,DNS:b', 'ä']) {
    const { code, stderr } = await run(program, ['--state', state, 'certificate', name]);
    assert.equal(code, 2);
    assert.equal(stderr, `platend certificate: "${name}" is neither a host name nor an IP address\n`);
  }
  assert.deepEqual(fs.readdirSync(state), []);
});

test('pages come over HTTPS with Secure cookies, and plain HTTP is led there', async (t) => {
  const args = await certificate(temporaryDirectory(t), 'localhost');
  const port = await freePort();
  const platend = await startPlatend(t, { pages, args: [...args, '--redirect-port', port] });
  assert.match(platend.address, /^https:\/\/127\.0\.0\.1:\d+\/$/);
  const { status, headers } = await platend.get('/');
  assert.equal(status, 200);
  for (const cookie of headers['set-cookie']) assert.match(cookie, /; Secure$/);
  const plain = `http://127.0.0.1:${port}/`;
  for (const target of ['/', '/static/x.css', '/edit.html?a=%2F&b=1']) {
    const led = await request(plain, target);
    assert.deepEqual([led.status, led.headers.location], [302, platend.address.slice(0, -1) + target]);
    assert.equal(led.headers['set-cookie'], undefined);
  }
  const named = await request(plain, '/x', { headers: { Host: `scanner:${port}` } });
  assert.equal(named.headers.location, `https://scanner:${new URL(platend.address).port}/x`);
  await assert.rejects(request(platend.address.replace('https', 'http'), '/'));
});

test('a renewed certificate is taken over under load, a broken one is not', async (t) => {
  const directory = temporaryDirectory(t);
  const args = await certificate(directory, 'first');
  const platend = await startPlatend(t, { pages, args });
  let over = false;
  const statuses = new Set();
  const client = (async () => {
    while (!over) statuses.add((await platend.get('/', { agent: false })).status);
  })();
  assert.equal(await shownSubject(platend.address), 'CN=first');

  const file = path.join(directory, 'certificate.pem');
  const first = fs.readFileSync(file);
  fs.writeFileSync(file, 'no certificate');
  platend.child.kill('SIGHUP');
  await platend.logged(/Not reloaded: lighttpd cannot take the certificate .*; its reason stands above\n/);
  assert.equal(await shownSubject(platend.address), 'CN=first');
  fs.writeFileSync(file, first);

  const other = temporaryDirectory(t);
  await certificate(other, 'second');
  for (const name of fs.readdirSync(other)) {
    fs.renameSync(path.join(other, name), path.join(directory, name));
  }
  platend.child.kill('SIGHUP');
  await platend.logged(/The certificate was renewed\./);
  while ((await shownSubject(platend.address)) !== 'CN=second') continue;
  over = true;
  await client;
  assert.deepEqual([...statuses], [200]);
});

test('a certificate that is missing or does not fit its key ends the start', async (t) => {
  const directory = temporaryDirectory(t);
  const args = await certificate(directory, 'one');
  fs.renameSync(args[1], `${args[1]}.away`);
  await assert.rejects(
    startPlatend(t, { pages, args }),
    /certificate\.pem cannot be read: No such file or directory; --certificate and/,
  );
  const other = temporaryDirectory(t);
  await certificate(other, 'two');
  fs.renameSync(path.join(other, 'certificate.pem'), args[1]);
  await assert.rejects(startPlatend(t, { pages, args }), /lighttpd ended before it served/);
});
