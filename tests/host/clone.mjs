// A device with clone groups for tests, and a page that shows all that it is given of them.
// SPDX-License-Identifier: MIT
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import { startPlatend, writeFiles } from './platend.mjs';
import { Visitor, adminPassword, formDevice, formPages } from './visitor.mjs';

const blocks = ['clone', 'upload', 'posted'];

const page = `<!DOCTYPE html><h1>clone</h1><form method="post"><!--#token--></form>
<p id="reason"><!--#reason--></p><p id="notice"><!--#notice--></p>
${blocks.map((id) => `<script type="application/json" id="${id}"><!--#${id}--></script>`).join('\n')}`;

const files = {
  'etc/paths.txt': 'nc_dlms_data\tdlms\n',
  'etc/phrases/en-us.txt': '10\tTemplates\n11\tWeb\n12\tFolders\n20\tFax\n30\tPanel\n31\tVolume\n',
  'etc/phrases/de-de.txt': '10\tVorlagen\n11\tWeb\n12\tOrdner\n20\tFax\n30\tBedienfeld\n',
  'etc/settings.txt': 'fax\ton\nfax.number\t1\npanel.volume\t3\nscanToMailbox.M.password\t2468\n',
  'dlms/clone/data/clone_file_webui': '1,10,,11,12\n1,20,fax == on,\n1,30,,31\n',
  'dlms/clone/data/clone_contents': [
    '/tmp/template/pool/web/*.KTP\t11',
    '/tmp/template/pool/system/*\t11',
    '/tmp/template/pool/mailbox/*.KTP\t12',
    'fax.*\t20',
    'panel.*\t31',
    'scanToMailbox.*\t12',
  ].join('\n'),
};

/** What the page shows in a block. */
export const block = (answer, id) =>
  JSON.parse(answer.body.match(new RegExp(`id="${id}">([^]*?)</script>`))[1]);

/** The checksum of a clone file without one. */
export const checksum = (document) =>
  `sha256:${createHash('sha256').update(JSON.stringify(document)).digest('hex')}`;

/** A clone file with one template and one setting; `changes` replace its members. */
export function cloneFile(changes = {}) {
  const document = {
    format: 'platen-clone',
    version: 1,
    made: '2026-11-21T13:00:00Z',
    device: 'platend:',
    groups: [{ token: 11, name: 'Web' }, { token: 31, name: 'Volume' }],
    templates: [{ path: '/tmp/template/pool/web/New.KTP', group: 11, text: '[service s]\n', withheld: [] }],
    settings: [{ key: 'panel.volume', group: 31, value: '5' }],
    leftOut: [],
    ...changes,
  };
  return JSON.stringify({ ...document, checksum: checksum(document) });
}

/** A visitor who makes, reads in and applies clone files. */
export class Cloner extends Visitor {
  async show(query = '') {
    const answer = await this.get(`/clone.html${query}`);
    return { ...answer, clone: block(answer, 'clone'), upload: block(answer, 'upload') };
  }

  make(groups, fields = {}) {
    return this.post('/clone.html', '/do/clone', { groups, ...fields });
  }

  /** Posts `text` as a file. */
  async read(text, name = 'clone.json') {
    const { token } = await this.get('/clone.html');
    const edge = 'the-edge-of-a-part';
    const part = (head, body) => [`--${edge}\r\nContent-Disposition: form-data; ${head}\r\n\r\n`, body, '\r\n'];
    const parts = [...part('name="token"', token), ...part(`name="file"; filename="${name}"`, text), `--${edge}--\r\n`];
    const body = Buffer.concat(parts.map((piece) => Buffer.from(piece)));
    return this.send('/do/clone-read', body, { 'content-type': `multipart/form-data; boundary=${edge}` });
  }

  /** Reads a file in and shows its summary. */
  async summary(text) {
    const answer = await this.read(text);
    if (answer.status !== 303) throw new Error(`${answer.status}: ${answer.reason}`);
    return (await this.show(new URL(answer.headers.location, 'http://x').search)).upload;
  }

  apply({ upload, digest }, items) {
    return this.post(`/clone.html?upload=${upload}`, '/do/clone-apply', { upload, digest, items });
  }

  async enter(platend, password = adminPassword) {
    await this.logIn('admin', password);
    return this;
  }
}

/** Starts a device with clone groups; `changes` are further or other files of its tree. */
export async function startClone(t, changes = {}) {
  const data = formDevice(t);
  writeFiles(data, { ...files, ...changes });
  const platend = await startPlatend(t, { pages: { ...formPages, 'clone.html': page }, data });
  const admin = new Cloner(platend);
  await admin.logIn('admin', platend.firstPassword);
  await admin.post('/password.html', '/do/password', {
    old: platend.firstPassword,
    new: adminPassword,
    repeat: adminPassword,
  });
  return { platend, admin, data, pool: (name) => path.join(data, 'pool', name) };
}

/** All files of the pools, with their bytes. */
export const tree = (data) =>
  fs.readdirSync(path.join(data, 'pool'), { recursive: true })
    .sort()
    .map((name) => path.join(data, 'pool', name))
    .filter((file) => fs.statSync(file).isFile())
    .map((file) => [file, fs.readFileSync(file, 'latin1')]);
