// What cmake --install puts in place, used from there by platend and by programs built against it.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {
  build,
  emptyDevice,
  request,
  run,
  source,
  startPlatend,
  temporaryDirectory,
} from '../host/platend.mjs';
import { succeed } from './commands.mjs';

const template = path.join(source, 'samples/pool/system/Copy shop.KTP');
const foreignHost = path.join(source, 'tests/packaging/foreign_host');

/** Installs Platen into a directory that goes with the test `t`; returns it. */
async function stage(t) {
  const prefix = path.join(temporaryDirectory(t), 'usr');
  await succeed('cmake', ['--install', build, '--prefix', prefix]);
  return prefix;
}

/** The one file of that name below `directory`. */
function find(directory, name) {
  const files = fs.readdirSync(directory, { recursive: true });
  const found = files.filter((file) => path.basename(file) === name);
  assert.equal(found.length, 1, `${name}: ${found.join(' ')}`);
  return path.join(directory, found[0]);
}

/** An environment in which the loader and pkg-config find the installed library. */
function environment(prefix) {
  return {
    ...process.env,
    LD_LIBRARY_PATH: path.dirname(find(prefix, 'libtemplateWrapper.so')),
    PKG_CONFIG_PATH: path.dirname(find(prefix, 'platen.pc')),
  };
}

/** Has the foreign host print a value through the module. */
async function printsAValue(program, env) {
  const args = [template, 'qvn_svc_general', 'JobTemplateName'];
  const { code, stdout, stderr } = await run(program, args, { env });
  assert.deepEqual([code, stdout], [0, 'Copy shop\n'], stderr);
  assert.match(stderr, /^8 http_parser\.cpp:\d+ ENTER HTTP_Parser_Get_fn$/m);
}

test('a foreign host is built by pkg-config and calls the installed module', async (t) => {
  const prefix = await stage(t);
  const env = environment(prefix);
  const module = await succeed('pkg-config', ['--variable=module', 'platen'], { env });
  const flags = await succeed('pkg-config', ['--cflags', '--libs', 'platen', 'platen-store'], { env });
  const program = path.join(temporaryDirectory(t), 'foreign_host');
  await succeed('cc', [
    ...['-std=c11', '-Wall', '-Wextra', '-Wpedantic', '-Wno-pedantic', '-Werror', '-rdynamic'],
    ...[`-DMODULE="${module.trim()}"`, '-o', program],
    ...[path.join(foreignHost, 'foreign_host.c'), ...flags.trim().split(/\s+/)],
  ]);
  assert.equal(fs.realpathSync(module.trim()), find(prefix, 'libhttp_parser.so'));
  await printsAValue(program, env);
});

test('a foreign host is built by the CMake package and calls the installed module', async (t) => {
  const prefix = await stage(t);
  const directory = path.join(temporaryDirectory(t), 'build');
  await succeed('cmake', ['-S', foreignHost, '-B', directory, `-DCMAKE_PREFIX_PATH=${prefix}`]);
  await succeed('cmake', ['--build', directory]);
  await printsAValue(path.join(directory, 'foreign_host'), process.env);
});

test('the installed platend finds its pages and module by itself', async (t) => {
  const prefix = await stage(t);
  const program = path.join(prefix, 'sbin/platend');
  assert.equal(await succeed(program, ['--check']), '');
  const device = path.join(temporaryDirectory(t), 'data');
  fs.cpSync(path.join(source, 'samples'), device, { recursive: true });
  const platend = await startPlatend(t, { file: program, data: device });
  const style = path.join(prefix, 'share/platen/pages/static/platen.css');
  fs.writeFileSync(style, '/* installed */');
  assert.equal((await platend.get('/login.html')).status, 200);
  assert.equal((await platend.get('/static/platen.css')).body, '/* installed */');
});

test('the installed ktp finds the store, and its manual and completion are there', async (t) => {
  const prefix = await stage(t);
  const template = path.join(source, 'samples/pool/factory/EMAIL.KTP');
  assert.equal(await succeed(path.join(prefix, 'bin/ktp'), ['check', template]), '');
  for (const file of ['man/man1/ktp.1', 'man/man5/ktp.5', 'bash-completion/completions/ktp']) {
    assert.ok(fs.existsSync(path.join(prefix, 'share', file)), file);
  }
});

test('platend of the build tree finds the pages and the module of the checkout', async (t) => {
  const platend = await startPlatend(t, { data: emptyDevice(temporaryDirectory(t)) });
  assert.equal((await request(platend.address, '/static/platen.css')).status, 200);
});

test('the module and the store name no path of the build tree', async (t) => {
  const prefix = await stage(t);
  for (const name of ['libhttp_parser.so', 'libtemplateWrapper.so']) {
    const paths = await succeed('readelf', ['--dynamic', find(prefix, name)]);
    assert.doesNotMatch(paths, new RegExp(build));
  }
});
