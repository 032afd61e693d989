// Measures the mailbox page and a page in PHP through the web server, against plain tag pages and
// static files of the same size through the same server: node mailbox_bench.mjs [ROUNDS]
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { fastest, printLine, runToEnd } from './rounds.mjs';
import { request, source, startPlatend, temporaryDirectory, writeFiles } from '../tests/host/platend.mjs';

const rounds = Number(process.argv[2] ?? 300);
const list = '<!--#parser fn="HTTP_Parser_List_fn" arg="/tmp/template/pool/mailbox" format="json"-->';
const plainPages = {
  'bench/list.html': `<!DOCTYPE html><title>list</title><script type="application/json">${list}</script>\n`,
  'bench/trivial.html': '<!DOCTYPE html><title>one</title><p>1</p>\n',
  'bench/trivial.php': '<!DOCTYPE html><title>one</title><p><?= 1 ?></p>\n',
};

/** The series: its page, the plain page beside it, and how many folders the mailbox holds. */
const series = [
  ['trivial page in PHP', '/bench/trivial.php', '/bench/trivial.html', 10],
  ...[10, 100, 1000].map((count) => [`mailbox page, ${count}`, '/mailbox/index.php', '/bench/list.html', count]),
];

/** The sample device with the pages as they are shipped and those of plainPages. */
function start(t) {
  const directory = temporaryDirectory(t);
  const [data, pages] = ['data', 'pages'].map((name) => path.join(directory, name));
  fs.cpSync(path.join(source, 'samples'), data, { recursive: true });
  fs.cpSync(path.join(source, 'pages'), pages, { recursive: true });
  fs.rmSync(path.join(data, 'pool/mailbox'), { recursive: true });
  fs.mkdirSync(path.join(data, 'pool/mailbox'));
  writeFiles(pages, plainPages);
  return startPlatend(t, { data, pages });
}

/** Adds folders until the mailbox has that many. */
function fillMailbox(platend, count) {
  const text = fs.readFileSync(path.join(source, 'samples/pool/mailbox/anna.KTP'));
  const names = Array.from({ length: count }, (_, i) => `folder${i}.KTP`);
  writeFiles(path.join(platend.data, 'pool/mailbox'), Object.fromEntries(names.map((name) => [name, text])));
}

async function measure(t) {
  const platend = await start(t);
  const agent = new http.Agent({ keepAlive: true, maxSockets: 1 });
  t.after(() => agent.destroy());
  const ask = async (target) => {
    const answer = await request(platend.address, target, { agent });
    assert.equal(answer.status, 200, answer.body);
    return answer.body;
  };
  printLine(['', 'us', 'x plain', 'x static']);
  for (const [name, page, plain, count] of series) {
    fillMailbox(platend, count);
    const body = await ask(page);
    if (plain === '/bench/list.html') {
      for (const shown of [body, await ask(plain)]) assert.equal(new Set(shown.match(/folder\d+/g)).size, count);
    }
    writeFiles(platend.pages, { 'static/answer.txt': body });
    const works = [page, plain, '/static/answer.txt'].map((target) => () => ask(target));
    const [time, beside, still] = await fastest(rounds, works);
    printLine([name, time.toFixed(1), (time / beside).toFixed(2), (time / still).toFixed(2)]);
  }
}

await runToEnd(measure);
