// Measures the editor's forms and lists through the web server, against a static file of the same
// size through the same server and against the same work in process: node http_bench.mjs [ROUNDS]
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import http from 'node:http';
import path from 'node:path';
import { fastest, printLine, runToEnd } from './rounds.mjs';
import { build, request, run, writeFiles } from '../tests/host/platend.mjs';
import { encode, pageFor, startWithAdmin, template, update, webPool } from '../tests/host/visitor.mjs';

const rounds = Number(process.argv[2] ?? 300);
const attributes = 200;
const wordings = ['a value of usual length ', 'another value '];
const listPages = {
  'list page': ['list.html', 'HTTP_Parser_List_fn'],
  'list page, no scan drivers': ['people.html', 'HTTP_Parser_List_Non_WIA_fn'],
};

const numbers = (count) => Array.from({ length: count }, (_, i) => i);

/** A template of that many attributes, with further lines. */
const templateOf = (count, further = {}) =>
  template({
    ...Object.fromEntries(numbers(count).map((i) => [`JobAttribute${i}`, `(enum_setting) = ${wordings[0]}${i}`])),
    ...further,
  });

/** That many numbers of attributes, evenly spread. */
const spread = (count) => numbers(count).map((i) => Math.floor(((2 * i + 1) * attributes) / (2 * count)));

function templates(edits, pools) {
  const listed = templateOf(20, { JobTemplateCreator: '(string) = front panel' });
  const edited = templateOf(attributes);
  return Object.fromEntries([
    ...edits.map((count) => [`web/edits${count}.KTP`, edited]),
    ...pools.flatMap((count) => numbers(count).map((i) => [`web/of${count}/template${i}.KTP`, listed])),
  ]);
}

/** The times of the work in process, by the names in editor_bench's last table. */
async function timesInProcess() {
  const args = ['--benchmark_filter=host|list', '--benchmark_repetitions=5', `--benchmark_min_time=${rounds / 5000}`];
  const { code, stdout, stderr } = await run(path.join(build, 'bench/editor_bench'), args);
  assert.equal(code, 0, stderr);
  const lines = stdout.matchAll(/^([^/\n]+?, \d+) +([\d.]+) /gm);
  const times = new Map([...lines].map(([, name, time]) => [name, Number(time)]));
  return (name) => times.get(name) ?? assert.fail(`editor_bench has no line "${name}"`);
}

/** Somebody who is logged in and asks over one connection. */
class Client {
  constructor(platend, visitor) {
    this.platend = platend;
    this.visitor = visitor;
    this.agent = new http.Agent({ keepAlive: true, maxSockets: 1 });
    this.cookie = [...visitor.cookies].map((pair) => pair.join('=')).join('; ');
  }

  async ask(status, target, { headers, ...options } = {}) {
    const all = { cookie: this.cookie, ...headers };
    const answer = await request(this.platend.address, target, { ...options, agent: this.agent, headers: all });
    assert.equal(answer.status, status, answer.body);
    return answer;
  }

  post(target, body) {
    const headers = {
      origin: this.platend.address.replace(/\/$/, ''),
      'content-type': 'application/x-www-form-urlencoded',
      'content-length': Buffer.byteLength(body),
    };
    return this.ask(303, target, { method: 'POST', body, headers });
  }
}

/** Posts with that many edits, each of which changes the template back or forth. */
async function posting(client, count) {
  const file = `${webPool}/edits${count}.KTP`;
  const { token } = await client.visitor.get(pageFor('edit', file));
  const body = (from, to) =>
    encode([
      ['token', token],
      ['ParserFilename', file],
      ...spread(count).flatMap((i) => update(`JobAttribute${i}`, to + i, { was: from + i, type: 'enum_setting' })),
    ]);
  const bodies = [body(wordings[0], wordings[1]), body(wordings[1], wordings[0])];
  return (round) => client.post('/form/HTTP_Parser_Set_fn', bodies[round % 2]);
}

const listing = (client, page, count) => () => client.ask(200, `/${page}?TemplateDir=${webPool}/of${count}`);

/** The comparisons, [series, units, work, what a static file of the answer's size holds]. */
async function comparisons(client, edits, pools) {
  const posts = await Promise.all(edits.map(async (count) => ['post to the host', count, await posting(client, count), '']));
  const lists = [];
  for (const [series, [page]] of Object.entries(listPages)) {
    for (const count of pools) {
      const work = listing(client, page, count);
      lists.push([series, count, work, (await work()).body]);
    }
  }
  return [...posts, ...lists];
}

async function measure(t) {
  const edits = [1, 20, 200];
  const pools = [10, 1000, 10000];
  const inProcess = await timesInProcess();
  const { platend, admin } = await startWithAdmin(t, { templates: templates(edits, pools) });
  for (const [page, fn] of Object.values(listPages)) {
    const block = `<script type="application/json"><!--#parser fn="${fn}" format="json"--></script>\n`;
    writeFiles(platend.pages, { [page]: `<!DOCTYPE html><title>list</title>${block}` });
  }
  const client = new Client(platend, admin);
  printLine(['', 'us', 'x static', 'x process', 'us each', 'further']);
  let before = {};
  for (const [series, units, work, body] of await comparisons(client, edits, pools)) {
    writeFiles(platend.pages, { [`static/${units}.txt`]: body });
    const [time, still] = await fastest(rounds, [work, () => client.ask(200, `/static/${units}.txt`)]);
    const name = `${series}, ${units}`;
    const further = series === before.series ? (time - before.time) / (units - before.units) : NaN;
    const figures = [time / still, time / inProcess(name), time / units, further];
    printLine([name, time.toFixed(1), ...figures.map((figure) => (Number.isNaN(figure) ? '' : figure.toFixed(2)))]);
    before = { series, units, time };
  }
  client.agent.destroy();
}

await runToEnd(measure);
