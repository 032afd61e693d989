// Starts platend for a test, in a directory of its own, and stops it.
// SPDX-License-Identifier: MIT
import { spawn } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { once } from 'node:events';
import fs from 'node:fs';
import http from 'node:http';
import https from 'node:https';
import os from 'node:os';
import path from 'node:path';
import { urlToHttpOptions } from 'node:url';

export const build = process.env.PLATEN_BUILD;
export const source = process.env.PLATEN_SOURCE;
export const program = path.join(build, 'host/platend');
export const faultModule = path.join(build, 'tests/host/libfault_module.so');

const endings = new WeakMap();

/** Calls `end` when the test `t` is over, the latest first: what runs is stopped before its files go. */
function atEnd(t, end) {
  if (!endings.has(t)) {
    endings.set(t, []);
    t.after(async () => {
      for (const one of endings.get(t).reverse()) await one();
    });
  }
  endings.get(t).push(end);
}

/** A temporary directory that goes with the test `t`. */
export function temporaryDirectory(t) {
  const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'platen-test-'));
  atEnd(t, () => fs.rmSync(directory, { recursive: true, force: true }));
  return directory;
}

/** Writes `files` ({name: text}) below `directory`, which is made. */
export function writeFiles(directory, files) {
  fs.mkdirSync(directory, { recursive: true });
  for (const [name, text] of Object.entries(files)) {
    fs.mkdirSync(path.dirname(path.join(directory, name)), { recursive: true });
    fs.writeFileSync(path.join(directory, name), text);
  }
}

/** Makes a device tree with one phrase and no templates. */
export function emptyDevice(directory) {
  writeFiles(directory, {
    'etc/phrases/en-us.txt': '9998?\ten-us\n',
    'etc/paths.txt': '# none\n',
  });
  return directory;
}

/** Runs a program to its end. Returns its exit code, the signal that ended it, and its output. */
export async function run(command, args, options = {}) {
  const child = spawn(command, args, { stdio: ['ignore', 'pipe', 'pipe'], ...options });
  const output = { stdout: '', stderr: '' };
  for (const name of ['stdout', 'stderr']) {
    child[name].setEncoding('utf8').on('data', (text) => (output[name] += text));
  }
  const [code, signal] = await once(child, 'close');
  return { code, signal, ...output };
}

/** A platend that serves; made by startPlatend(). */
class Platend {
  constructor([file, ...first], args, options) {
    this.mark = `PLATEN_TEST=${randomUUID()}`;
    const [name, value] = this.mark.split('=');
    const env = { ...(options.env ?? process.env), [name]: value };
    this.child = spawn(file, [...first, ...args], { stdio: ['ignore', 'pipe', 'pipe'], ...options, env });
    this.log = '';
    this.output = '';
    this.closed = once(this.child, 'close');
    this.waiting = [];
    this.child.stderr.setEncoding('utf8').on('data', (text) => {
      this.log += text;
      this.waiting.forEach((check) => check());
    });
    this.child.stdout.setEncoding('utf8').on('data', (text) => (this.output += text));
  }

  /** Waits for the line with the address; throws what platend says when it ends instead. */
  async serving() {
    while (!this.output.includes('\n')) {
      await Promise.race([once(this.child.stdout, 'data'), this.closed]);
      if (this.child.exitCode !== null) throw new Error(`platend has ended: ${this.log}`);
    }
    this.address = this.output.match(/^Platen serves (?:FastCGI on )?(.*)\n/)[1];
    this.firstPassword = this.output.match(/^First login: admin \/ (\S+) \(to be changed\)$/m)?.[1];
  }

  /** Waits until the log holds a match of `pattern`. */
  logged(pattern) {
    return new Promise((resolve) => {
      const check = () => pattern.test(this.log) && resolve();
      this.waiting.push(check);
      check();
    });
  }

  /** The ids of its processes, those of the sandbox, the workers and the web server included. */
  processes() {
    return fs.readdirSync('/proc').filter((entry) => {
      try {
        return /^\d+$/.test(entry) && fs.readFileSync(`/proc/${entry}/environ`).includes(this.mark);
      } catch {
        return false;
      }
    });
  }

  /** Waits until none of its processes is left. */
  async gone() {
    while (this.processes().length > 0) await new Promise((resolve) => setTimeout(resolve, 5));
  }

  /** Asks for a page; resolves to {status, headers, body}. */
  get(target, options = {}) {
    return request(this.address, target, options);
  }

  /** Ends it with the signal and resolves to its exit code. */
  async stop(signal = 'SIGTERM') {
    if (this.child.exitCode === null && this.child.signalCode === null) this.child.kill(signal);
    return (await this.closed)[0];
  }
}

/** Asks the server at `address`, a URL or {socketPath}, for `target`; resolves to {status, headers, body}. */
export function request(address, target, { method = 'GET', agent, headers, body } = {}) {
  const server = typeof address === 'string' ? urlToHttpOptions(new URL(address)) : address;
  return new Promise((resolve, reject) => {
    const { request: ask } = server.protocol === 'https:' ? https : http;
    const wanted = { ...server, path: target, method, agent, headers, rejectUnauthorized: false };
    const asked = ask(wanted, (answer) => {
      let text = '';
      answer.setEncoding('utf8').on('data', (piece) => (text += piece));
      answer.on('error', reject);
      answer.on('end', () =>
        resolve({ status: answer.statusCode, headers: answer.headers, body: text }),
      );
    });
    asked.on('error', reject);
    asked.end(body);
  });
}

/**
 * Starts platend for the test `t` and waits until it serves. `pages` is a directory or {name: text},
 * platend's own if missing; `data` a device tree, an empty one if missing, false for none; `args` are
 * further options, `options` those of spawn(), `file` is the program, or a command that
 * runs it and its first arguments. It is stopped when the test ends.
 */
export async function startPlatend(t, { pages, data, args = [], options = {}, file = program } = {}) {
  const directory = temporaryDirectory(t);
  const pageDirectory = typeof pages === 'string' ? pages : path.join(directory, 'pages');
  if (typeof pages === 'object') writeFiles(pageDirectory, pages);
  const device = data ?? emptyDevice(path.join(directory, 'data'));
  const all = pages ? ['--pages', pageDirectory] : [];
  if (device) all.push('--data', device);
  if (!args.includes('--fastcgi')) all.push('--port', '0');
  const platend = new Platend([file].flat(), [...all, ...args], options);
  atEnd(t, () => platend.stop('SIGTERM'));
  await platend.serving();
  platend.data = device;
  platend.pages = pageDirectory;
  return platend;
}
