// The Debian package: what it says and holds, and its life in a fresh root directory.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {
  build,
  emptyDevice,
  run,
  source,
  startPlatend,
  temporaryDirectory,
} from '../host/platend.mjs';
import { succeed } from './commands.mjs';

const packaging = path.join(source, 'packaging');

/** Makes the package in a directory that goes with the test `t`; returns its file. */
async function packed(t) {
  const directory = temporaryDirectory(t);
  await succeed('cpack', ['--config', path.join(build, 'CPackConfig.cmake'), '-B', directory]);
  const [name] = fs.readdirSync(directory).filter((file) => file.endsWith('.deb'));
  return path.join(directory, name);
}

/** Why a command cannot be run here, for the option `skip` of a test; false when it can. */
async function without(command) {
  const { code } = await run('sh', ['-c', `command -v ${command}`]);
  return code === 0 ? false : `${command} is not installed`;
}

test('the package names what it needs', async (t) => {
  const file = await packed(t);
  assert.match(path.basename(file), /^platen_\d+\.\d+\.\d+_[a-z0-9]+\.deb$/);
  const needs = await succeed('dpkg-deb', ['--field', file, 'Depends']);
  for (const name of ['lighttpd', 'libphp8.2-embed', 'libfcgi0ldbl', 'libsqlite3-0', 'libsodium23']) {
    assert.match(needs, new RegExp(`(^|, )${name}( \\(|,|$)`), name);
  }
});

test('platend serves from the unpacked package', async (t) => {
  const root = temporaryDirectory(t);
  await succeed('dpkg-deb', ['--extract', await packed(t), root]);
  const platend = await startPlatend(t, {
    file: path.join(root, 'usr/sbin/platend'),
    data: emptyDevice(temporaryDirectory(t)),
  });
  assert.equal((await platend.get('/login.html')).status, 200);
  assert.equal((await platend.get('/static/platen.css')).status, 200);
});

test('all files of /etc are known as configuration', async (t) => {
  const file = await packed(t);
  const contents = await succeed('dpkg-deb', ['--contents', file]);
  const etc = [...contents.matchAll(/^-.* \.(\/etc\/.*)$/gm)].map((match) => match[1]).sort();
  const known = fs.readFileSync(path.join(packaging, 'debian/conffiles'), 'utf8');
  assert.deepEqual(known.trimEnd().split('\n'), etc);
});

test('the service is well-formed and confined', { skip: await without('systemd-analyze') }, async (t) => {
  const unit = path.join(temporaryDirectory(t), 'platend.service');
  const text = fs.readFileSync(path.join(packaging, 'platend.service'), 'utf8');
  fs.writeFileSync(unit, text.replace('ExecStart=platend', 'ExecStart=/bin/true'));
  await succeed('systemd-analyze', ['verify', '--man=no', unit]);
  await succeed('systemd-analyze', ['security', '--offline=true', '--threshold=29', unit]);
});

/** Why a whole system cannot be made here; false when it can. */
async function withoutFreshRoot() {
  if (process.env.PLATEN_FULL !== '1') return 'it needs the network and minutes: ./test --full';
  if (process.getuid() !== 0) return 'only root may make a root directory';
  return without('debootstrap');
}

const skip = await withoutFreshRoot();
test('in a fresh system it installs, serves and goes without a trace', { skip }, async (t) => {
  const root = path.join(temporaryDirectory(t), 'root');
  const file = await packed(t);
  await succeed('debootstrap', ['--variant=minbase', 'bookworm', root]);
  fs.writeFileSync(path.join(root, 'usr/sbin/policy-rc.d'), '#!/bin/sh\nexit 101\n', { mode: 0o755 });
  fs.copyFileSync(file, path.join(root, 'package.deb'));
  const inside = (...words) => [
    ...['--mount', '--propagation', 'private', 'sh', '-c'],
    ...['mount -t proc proc "$0/proc" && exec chroot "$0" "$@"', root, ...words],
  ];
  const env = { PATH: process.env.PATH, DEBIAN_FRONTEND: 'noninteractive', LC_ALL: 'C' };
  const there = (...words) => succeed('unshare', inside(...words), { env });

  await there('apt-get', 'update');
  await there('apt-get', '-y', '--no-install-recommends', 'install', '/package.deb');
  assert.match(await there('stat', '-c', '%U:%G %a', '/tmp/template/pool'), /^platen:platen 750$/m);
  await there('test', '-L', '/etc/systemd/system/multi-user.target.wants/platend.service');
  assert.equal(await there('platend', '--check'), '');

  const user = ['setpriv', '--reuid=platen', '--regid=platen', '--init-groups'];
  const platend = await startPlatend(t, {
    file: ['unshare', ...inside(...user, 'platend')],
    data: false,
    options: { env },
  });
  assert.equal((await platend.get('/login.html')).status, 200);
  assert.doesNotMatch(platend.log, /cannot be used/);
  assert.equal(await platend.stop(), 0);
  assert.match(await there('platend', 'account', 'list'), /admin/);

  await there('apt-get', '-y', 'remove', 'platen');
  await there('test', '!', '-e', '/usr/sbin/platend');
  await there('test', '-e', '/etc/platen/platend.conf');
  await there('apt-get', '-y', 'purge', 'platen');
  const places = ['/etc', '/usr', '/run', '/tmp', '/var/lib', '/var/log', '/var/spool'];
  const left = await there('find', ...places, '-name', '*platen*');
  await there('test', '!', '-e', '/tarn');
  assert.equal(left, '');
  assert.equal((await run('unshare', inside('getent', 'passwd', 'platen'), { env })).code, 2);
});
