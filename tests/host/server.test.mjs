// What platend answers over HTTP, whatever it is asked.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import test from 'node:test';

import { startPlatend } from './platend.mjs';

const pages = {
  'index.html': '<!DOCTYPE html><title>Fine</title><p>Fine',
  'static/small.css': 'p { margin: 0 }\n',
  'static/large.txt': 'x'.repeat(3000000),
};

const policy =
  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; " +
  "form-action 'self'; base-uri 'none'; frame-ancestors 'none'";

/** Sends raw bytes and resolves to all that comes back. */
async function raw(address, bytes) {
  const { hostname, port } = new URL(address);
  const socket = net.connect(Number(port), hostname);
  let text = '';
  socket.setEncoding('latin1').on('data', (piece) => (text += piece));
  socket.end(bytes);
  await once(socket, 'close');
  return text;
}

test('pages carry the headers that protect them, and no trace of the server', async (t) => {
  const platend = await startPlatend(t, { pages });
  const { status, headers, body } = await platend.get('/');
  assert.deepEqual([status, body], [200, pages['index.html']]);
  assert.equal(headers['content-security-policy'], policy);
  assert.equal(headers['x-content-type-options'], 'nosniff');
  assert.equal(headers['referrer-policy'], 'same-origin');
  assert.equal(headers['cache-control'], 'no-store');
  assert.equal(headers['content-type'], 'text/html; charset=utf-8');
  assert.equal(headers['content-length'], String(body.length));
  assert.equal(headers.server, undefined);
});

test('HEAD is answered as GET is, without the body', async (t) => {
  const platend = await startPlatend(t, { pages });
  const { status, headers, body } = await platend.get('/', { method: 'HEAD' });
  assert.deepEqual([status, body], [200, '']);
  assert.equal(headers['content-length'], String(pages['index.html'].length));
});

test('files below static are served as they are', async (t) => {
  const platend = await startPlatend(t, { pages });
  const small = await platend.get('/static/small.css');
  assert.deepEqual([small.status, small.body], [200, pages['static/small.css']]);
  assert.equal(small.headers['content-type'], 'text/css; charset=utf-8');
  assert.equal(small.headers['x-content-type-options'], 'nosniff');
  const { etag } = small.headers;
  const again = await platend.get('/static/small.css', { headers: { 'If-None-Match': etag } });
  assert.deepEqual([again.status, again.body], [304, '']);
  assert.equal((await platend.get('/static/large.txt')).body, pages['static/large.txt']);
});

const answers = [
  { target: '/none.html', status: 404, text: 'There is no page /none.html.' },
  { target: '/static/none.css', status: 404, text: 'There is no such page.' },
  { target: '/static/', status: 403, text: 'This may not be shown.' },
  { target: '/?a=%00', status: 400, text: 'The field "a" holds a NUL byte.' },
  { target: '/?a=1&b=%zz', status: 400, text: 'The field "b" holds the broken escape "%zz".' },
  { target: '/%00', status: 400, text: 'The path holds a NUL byte.' },
  { target: '/%', status: 400, text: 'The path holds the broken escape "%".' },
  { target: `/${'x'.repeat(20000)}`, status: 431, text: 'The address or a cookie is too long.' },
  { target: '/', method: 'POST', body: 'a=1', status: 405, text: 'This page can only be read.' },
  { target: '/', method: 'DELETE', status: 405, text: 'This page can only be read.' },
  {
    target: '/',
    method: 'POST',
    headers: { 'Content-Length': '999999999' },
    status: 413,
    text: 'What was sent is too large.',
  },
];

test('what cannot be served is answered with a page that says why', async (t) => {
  const platend = await startPlatend(t, { pages });
  for (const { target, status, text, ...options } of answers) {
    const shown = `${options.method ?? 'GET'} ${target.slice(0, 40)}`;
    const answer = await platend.get(target, options);
    assert.equal(answer.status, status, shown);
    assert.equal(answer.headers['content-type'], 'text/html; charset=utf-8', shown);
    assert.ok(answer.body.includes(`<h1>${status} `), shown);
    assert.ok(answer.body.includes(`<p>${text}</p>`), `${shown}: ${answer.body}`);
  }
  assert.equal((await platend.get('/', { method: 'POST', body: 'a' })).headers.allow, 'GET, HEAD');
});

test('no address reaches the source of a page or a file beside the pages', async (t) => {
  const platend = await startPlatend(t, { pages });
  for (const target of [
    '/static/../index.html',
    '/static/%2e%2e/index.html',
    '/static/..%2findex.html',
    '/static/../../data/etc/paths.txt',
    '/static/%2e%2e%2f%2e%2e%2fdata/etc/paths.txt',
    '/../data/etc/paths.txt',
    '//etc/passwd',
  ]) {
    const answer = await raw(
      platend.address,
      `GET ${target} HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n`,
    );
    const [head] = answer.split('\r\n\r\n');
    assert.doesNotMatch(answer, /root:|# none/, target);
    if (head.startsWith('HTTP/1.1 200')) {
      assert.match(head, /\r\nContent-Security-Policy: /i, `${target} was served as a file`);
    }
  }
});

test('slow clients hold up nobody', async (t) => {
  const platend = await startPlatend(t, { pages, args: ['--workers', '1'] });
  const { hostname, port } = new URL(platend.address);
  const slow = Array.from({ length: 200 }, () => net.connect(Number(port), hostname));
  t.after(() => slow.forEach((socket) => socket.destroy()));
  await Promise.all(slow.map((socket) => once(socket, 'connect')));
  slow.forEach((socket, i) =>
    socket.on('error', () => {}).write(
      i % 2 ? 'GET / HTTP/1.1\r\nHost: x\r\nX-Slow: ' : 'POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 9\r\n\r\na',
    ),
  );
  const answers = await Promise.all(Array.from({ length: 50 }, () => platend.get('/')));
  assert.ok(answers.every((answer) => answer.status === 200));
});

test('a web server that is killed comes back at the same address', async (t) => {
  const platend = await startPlatend(t, { pages });
  const [front, ...others] = platend
    .processes()
    .filter((id) => fs.readFileSync(`/proc/${id}/comm`, 'utf8') === 'lighttpd\n');
  assert.deepEqual(others, []);
  process.kill(Number(front), 'SIGKILL');
  await platend.logged(/lighttpd has ended \(signal 9 \(Killed\)\) and is started again/);
  assert.equal((await platend.get('/')).status, 200);
});
