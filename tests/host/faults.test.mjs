// A worker that ends, crashes or hangs costs its own request and no other.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import test from 'node:test';

import { faultModule, startPlatend } from './platend.mjs';
import { startWithAdmin, template, webPool } from './visitor.mjs';

const words = ['exit', 'die', 'abort', 'segv', 'overflow', 'kill', 'hang', 'deaf', 'gate', 'fork'];

/** One page per fault, and one that is fine. */
function faultPages() {
  const pages = { 'index.html': '<!DOCTYPE html><title>Fine</title><p>Fine' };
  for (const word of words) {
    pages[`${word}.html`] =
      '<!DOCTYPE html><title>Fault</title><p>before ' +
      `<!--#parser fn="HTTP_Parser_Get_fn" arg="${word} NULL x string" format="html"--> after`;
  }
  return pages;
}

function startFaulty(t, args = []) {
  return startPlatend(t, { pages: faultPages(), args: ['--module', faultModule, ...args] });
}

// How a worker can end, who answers its client then, and what the log tells of it.
const ends = [
  { word: 'exit', status: 500, by: 'worker', cause: /exit status 1, at work on: GET \/exit\.html/ },
  { word: 'die', status: 500, by: 'front', cause: /exit status 7, at work on: GET \/die\.html/ },
  { word: 'abort', status: 500, by: 'worker', cause: /signal 6 \(Aborted\), at work on: GET \/abort\.html/ },
  { word: 'segv', status: 500, by: 'worker', cause: /signal 11 \(Segmentation fault\), .* \/segv\.html/ },
  { word: 'overflow', status: 500, by: 'worker', cause: /signal 11 \(Segmentation fault\), .* \/overflow\.html/ },
  { word: 'kill', status: 500, by: 'front', cause: /signal 9 \(Killed\), at work on: GET \/kill\.html/ },
  { word: 'hang', status: 504, by: 'worker', cause: /more than 1 s, exit status 75, .* GET \/hang\.html/ },
  { word: 'deaf', status: 500, by: 'front', cause: /more than 1 s, signal 9 \(Killed\), .* GET \/deaf\.html/ },
];

test('each end of a worker gives its client a whole plain page and is logged once', async (t) => {
  const platend = await startFaulty(t, ['--request-time', '1', '--workers', '1']);
  for (const { word, status, by, cause } of ends) {
    const answer = await platend.get(`/${word}.html`);
    assert.equal(answer.status, status, word);
    assert.match(answer.body, new RegExp(`^<!DOCTYPE html>[^]*<h1>${status} [^]*</html>\n$`), word);
    assert.doesNotMatch(answer.body, /before/, word);
    assert.equal('content-security-policy' in answer.headers, by === 'worker', word);
    assert.equal((await platend.get('/')).status, 200, `after ${word}`);
    await platend.logged(cause);
    assert.equal(platend.log.match(new RegExp(cause, 'g')).length, 1, word);
  }
});

test('a form whose worker ends is in the audit trail with the cause', async (t) => {
  const { platend, admin } = await startWithAdmin(t, {
    templates: { 'web/exit.KTP': template({ JobTemplateName: '(string) = A' }) },
    args: ['--module', faultModule],
  });
  const file = `${webPool}/exit.KTP`;
  const form = '/form/HTTP_Parser_Delete_fn';
  const { status } = await admin.post('/delete.html', form, { ParserFilename: file });
  assert.equal(status, 500);
  await platend.logged(/exit status 1, at work on: POST/);
  const trail = await admin.get('/download/audit?format=jsonl&action=HTTP_Parser_Delete_fn');
  const [entry, ...others] = trail.body.trimEnd().split('\n').map(JSON.parse);
  assert.deepEqual(others, []);
  assert.equal(entry.login, 'admin');
  assert.equal(entry.address, '127.0.0.1');
  assert.equal(entry.object, file);
  assert.match(entry.outcome, /^failed: exit status 1(; last logged: |$)/);
});

test('a child process that a function leaves behind does not answer for the worker', async (t) => {
  const platend = await startFaulty(t);
  const { status, body } = await platend.get('/fork.html');
  assert.equal(status, 200);
  assert.match(body, /before {2}after/);
});

test('under load faults meet only the clients that ask for them', async (t) => {
  const platend = await startFaulty(t, ['--request-time', '1']);
  const agent = new http.Agent({ keepAlive: true, maxSockets: 24 });
  t.after(() => agent.destroy());
  const asked = [];
  for (let i = 0; i < 1200; ++i) {
    const fault = i % 60 === 30 ? ends[((i - 30) / 60) % ends.length] : undefined;
    const expected = fault ?? { word: 'index', status: 200 };
    asked.push(
      platend.get(`/${expected.word}.html`, { agent }).then((answer) => {
        assert.equal(answer.status, expected.status, expected.word);
      }),
    );
  }
  await Promise.all(asked);
});

test('a worker is replaced after its number of requests, unseen', async (t) => {
  const platend = await startFaulty(t, ['--worker-requests', '3', '--log-level', '8']);
  const answers = await Promise.all(Array.from({ length: 90 }, () => platend.get('/')));
  assert.deepEqual(new Set(answers.map((answer) => answer.status)), new Set([200]));
  await platend.logged(/Worker \d+ has ended as planned/);
});

/** Waits until a worker stands at the gate; the result lets it pass. */
async function reachGate(platend) {
  const gate = await fs.promises.open(path.join(platend.data, 'spool/gate'), 'w');
  return () => gate.close();
}

function makeGate(platend) {
  execFileSync('mkfifo', ['-m', '666', path.join(platend.data, 'spool/gate')]);
}

for (const signal of ['SIGTERM', 'SIGINT']) {
  test(`a request under way is answered when ${signal} stops platend`, async (t) => {
    const platend = await startFaulty(t);
    makeGate(platend);
    const answer = platend.get('/gate.html');
    const open = await reachGate(platend);
    platend.child.kill(signal);
    await platend.logged(/Stopping on signal/);
    await open();
    assert.equal((await answer).status, 200);
    assert.match((await answer).body, /before {2}after/);
    assert.equal(await platend.stop(), 0);
  });
}

test('a second signal stops at once what does not end', async (t) => {
  const platend = await startFaulty(t);
  makeGate(platend);
  const answer = platend.get('/gate.html').catch((error) => error);
  const open = await reachGate(platend);
  platend.child.kill('SIGTERM');
  platend.child.kill('SIGINT');
  assert.equal(await platend.stop(), 0);
  assert.notEqual((await answer).status, 200);
  await open();
});
