// The metrics and the health of a running platend, as monitoring systems ask for them.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { emptyDevice, faultModule, program, request, run, startPlatend, temporaryDirectory, writeFiles } from './platend.mjs';
import { startWithAdmin, template, update, webPool } from './visitor.mjs';

const fault = (word) =>
  `<!DOCTYPE html><title>x</title><!--#parser fn="HTTP_Parser_Get_fn" arg="${word} NULL x string" format="html"-->`;

const pages = {
  'index.html': '<!DOCTYPE html><title>Fine</title><p>Fine',
  'exit.html': fault('exit'),
  'kill.html': fault('kill'),
};

const monitored = ['--metrics', '127.0.0.1:0'];

/** The address where `platend` tells its metrics. */
const monitor = (platend) => platend.output.match(/^Metrics at (http:\/\/\S+)\/metrics$/m)[1];

const ask = (platend, target, options) => request(monitor(platend), target, options);

/** Reads the text form line by line, and refuses what does not belong to it; returns {sample: number}. */
function parse(text) {
  const samples = {};
  let family = null;
  const families = new Set();
  assert.match(text, /\n$/);
  const lines = text.slice(0, -1).split('\n');
  lines.forEach((line, i) => {
    const help = line.match(/^# HELP (platen_[a-z_]+) \S.*\.$/);
    if (help) {
      assert.ok(!families.has(help[1]), line);
      families.add(help[1]);
      assert.ok(lines[i + 1].startsWith(`# TYPE ${help[1]} `), line);
      return;
    }
    const type = line.match(/^# TYPE (platen_[a-z_]+) (counter|gauge|histogram)$/);
    if (type) {
      assert.equal(lines[i - 1].split(' ')[2], type[1]);
      assert.equal(type[1].endsWith('_total'), type[2] === 'counter', line);
      family = { name: type[1], type: type[2] };
      return;
    }
    const sample = line.match(/^(platen_[a-z_]+)(\{[a-z]+="[^"\\\n]+"\})? (\d+(\.\d+)?)$/);
    assert.ok(sample, line);
    const suffix = sample[1].slice(family.name.length);
    const suffixes = family.type === 'histogram' ? ['_bucket', '_sum', '_count'] : [''];
    assert.ok(sample[1].startsWith(family.name) && suffixes.includes(suffix), line);
    const name = `${sample[1]}${sample[2] ?? ''}`;
    assert.ok(!(name in samples), line);
    samples[name] = Number(sample[3]);
  });
  return samples;
}

async function samplesOf(platend) {
  const answer = await ask(platend, '/metrics');
  assert.equal(answer.status, 200);
  assert.equal(answer.headers['content-type'], 'text/plain; version=0.0.4; charset=utf-8');
  return parse(answer.body);
}

/** What of `names` has changed from `before` to `after`. */
const risen = (before, after) =>
  Object.fromEntries(Object.keys(after).flatMap((name) => (after[name] === before[name] ? [] : [[name, after[name] - before[name]]])));

const requests = (outcome) => `platen_requests_total{outcome="${outcome}"}`;

test('the counters rise by exactly the requests that are made', async (t) => {
  const platend = await startPlatend(t, { pages, args: monitored });
  const before = await samplesOf(platend);
  assert.equal(before['platen_build_info{version="1.0.0"}'], 1);
  assert.equal(before.platen_workers, 2);
  for (const outcome of ['done', 'refused', 'failed']) assert.equal(before[requests(outcome)], 0);
  for (let i = 0; i < 5; ++i) assert.equal((await platend.get('/')).status, 200);
  for (let i = 0; i < 3; ++i) assert.equal((await platend.get('/none.html')).status, 404);
  await ask(platend, '/health');
  const after = await samplesOf(platend);
  assert.equal(after[requests('done')], 5);
  assert.equal(after[requests('refused')], 3);
  assert.equal(after[requests('failed')], 0);
  assert.equal(after.platen_request_seconds_count, 8);
  assert.ok(after.platen_request_seconds_sum > 0);
  const buckets = Object.keys(after).filter((name) => name.startsWith('platen_request_seconds_bucket'));
  assert.equal(buckets.at(-1), 'platen_request_seconds_bucket{le="+Inf"}');
  const counts = buckets.map((name) => after[name]);
  assert.deepEqual(counts, [...counts].sort((a, b) => a - b));
  assert.equal(counts.at(-1), 8);
  assert.deepEqual(risen(after, await samplesOf(platend)), {}, 'looking changes nothing');
});

test('a worker that ends is counted by its cause, and its request as failed', async (t) => {
  const args = [...monitored, '--module', faultModule];
  const platend = await startPlatend(t, { pages, args });
  const before = await samplesOf(platend);
  assert.equal((await platend.get('/exit.html')).status, 500);
  assert.equal((await platend.get('/kill.html')).status, 500);
  await platend.logged(/exit status 1, at work on/);
  await platend.logged(/signal 9 \(Killed\), at work on/);
  const change = risen(before, await samplesOf(platend));
  delete change.platen_workers;
  assert.deepEqual(change, {
    [requests('failed')]: 2,
    'platen_worker_ends_total{cause="exit"}': 1,
    'platen_worker_ends_total{cause="signal"}': 1,
  });
});

test('a save that fails is counted', async (t) => {
  const { platend, admin } = await startWithAdmin(t, { args: monitored });
  assert.equal((await samplesOf(platend)).platen_save_failures_total, 0);
  const file = `${webPool}/A.KTP`;
  const answer = await admin.post(`/edit.html?ParserFilename=${file}`, '/form/HTTP_Parser_Set_fn', [
    ['ParserFilename', file],
    ...update('Note', 'x', { invocation: 'gone' }),
  ]);
  assert.equal(answer.status, 500, answer.reason);
  assert.equal((await samplesOf(platend)).platen_save_failures_total, 1);
});

test('health is ok, and tells where templates cannot be read or saved', async (t) => {
  const data = emptyDevice(path.join(temporaryDirectory(t), 'data'));
  writeFiles(data, { 'pool/system/default.ktp': template({ Note: '(string) = x' }) });
  const platend = await startPlatend(t, { pages, data, args: monitored });
  const health = async () => {
    const { status, body, headers } = await ask(platend, '/health');
    assert.equal(headers['content-type'], 'text/plain; charset=utf-8');
    return [status, body];
  };
  assert.deepEqual(await health(), [200, 'ok\n']);
  const pool = path.join(data, 'pool');
  assert.deepEqual(fs.readdirSync(pool), ['system']);
  fs.writeFileSync(path.join(pool, 'system/default.ktp'), 'nonsense\n');
  const [status, body] = await health();
  assert.equal(status, 503);
  assert.match(body, /^templates cannot be read: \/tmp\/template\/pool\/system\/default\.ktp:1:\d+: [^\n]+\n$/);
  fs.rmSync(path.join(pool, 'system'), { recursive: true });
  assert.deepEqual(await health(), [200, 'ok\n']);
  fs.rmdirSync(path.join(data, 'tarn'));
  const [gone, reason] = await health();
  assert.equal(gone, 503);
  assert.match(reason, /^templates cannot be saved: \/tarn\/template\/pool: [^\n]+\n$/);
});

test('health tells a pool that may only be read', async (t) => {
  const data = emptyDevice(path.join(temporaryDirectory(t), 'data'));
  const pool = path.join(data, 'pool');
  fs.mkdirSync(pool);
  const file = ['bwrap', '--die-with-parent', '--dev-bind', '/', '/', '--ro-bind', pool, pool, program];
  const platend = await startPlatend(t, { pages, data, args: monitored, file });
  const { status, body } = await ask(platend, '/health');
  assert.deepEqual([status, body], [503, 'templates cannot be saved: /tmp/template/pool: Read-only file system\n']);
  assert.equal((await platend.get('/')).status, 200);
});

test('the two addresses do not serve what belongs to the other', async (t) => {
  const platend = await startPlatend(t, { pages, args: monitored });
  const forged = { 'platen-monitor': 'yes', platen_monitor: 'yes', host: new URL(monitor(platend)).host };
  for (const target of ['/metrics', '/health']) {
    for (const headers of [{}, forged]) assert.equal((await platend.get(target, { headers })).status, 404);
  }
  for (const target of ['/', '/index.html', '/login.html', '/metrics/', '/download/audit']) {
    assert.equal((await ask(platend, target)).status, 404, target);
  }
  const posted = await ask(platend, '/metrics', { method: 'POST', body: '' });
  assert.deepEqual([posted.status, posted.headers.allow], [405, 'GET, HEAD']);
  assert.equal((await ask(platend, '/health', { method: 'HEAD' })).body, '');
});

test('beside HTTPS and its redirection the metrics stay plain', async (t) => {
  const state = temporaryDirectory(t);
  assert.equal((await run(program, ['--state', state, 'certificate'])).code, 0);
  const files = ['--certificate', `${state}/certificate.pem`, '--private-key', `${state}/private-key.pem`];
  const platend = await startPlatend(t, { pages, args: [...monitored, ...files] });
  assert.match(platend.address, /^https:/);
  assert.equal((await platend.get('/')).status, 200);
  assert.equal((await platend.get('/metrics')).status, 404);
  assert.equal((await samplesOf(platend))[requests('done')], 1);
});

test('an address that other machines reach is refused, in the file with its line', async (t) => {
  const directory = temporaryDirectory(t);
  const file = path.join(directory, 'platend.conf');
  fs.writeFileSync(file, '# x\nmetrics = 0.0.0.0:9100\n');
  const { code, stdout } = await run(program, ['--config', file, '--check']);
  assert.equal(code, 1);
  assert.equal(
    stdout,
    `${file}:2: metrics takes a loopback address and a port, such as 127.0.0.1:9100 or [::1]:9100, ` +
      'not "0.0.0.0:9100"\n',
  );
});
