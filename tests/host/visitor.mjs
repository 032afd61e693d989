// A device with pages and forms for tests, and a visitor who keeps cookies and tokens as a browser does.
// SPDX-License-Identifier: MIT
import fs from 'node:fs';
import path from 'node:path';
import { emptyDevice, request, startPlatend, temporaryDirectory, writeFiles } from './platend.mjs';

const shown = `<p id="reason"><!--#reason--></p><p id="notice"><!--#notice--></p>
<script type="application/json" id="posted"><!--#posted--></script>
<script type="application/json" id="login"><!--#login format="json"--></script>
<script type="application/json" id="accounts"><!--#accounts--></script>`;

const page = (title, inside = '') => `<!DOCTYPE html><title>${title}</title>
<h1>${title}</h1>${inside}
<form method="post"><!--#token--></form>${shown}`;

const open = '<!--#parser fn="HTTP_Open_Parser_fn" arg=""-->';
const close = '<!--#parser fn="HTTP_Close_Parser_fn" arg="FALSE"-->';

/** One page for each form, each with all that the host's tags show. */
export const formPages = {
  'index.html': page('start'),
  'login.html': page('login'),
  'password.html': page('password'),
  'accounts.html': page('accounts'),
  'pool.html': page('pool'),
  'edit.html': page('edit', `${open}<script type="application/json" id="template"><!--#template--></script>${close}`),
  'copy.html': page('copy'),
  'rename.html': page('rename'),
  'delete.html': page('delete'),
};

export const webPool = '/tmp/template/pool/web';
export const defaultTemplate = '/tmp/template/pool/system/default.ktp';

/** A template whose general service has the attributes {name: line behind the name}. */
export const template = (attributes) =>
  '[service qvn_svc_general]\n  [invocation one]\n' +
  Object.entries(attributes).map(([name, text]) => `    ${name} ${text}\n`).join('');

/** A device tree with a few templates, in a directory of its own. */
export function formDevice(t, templates = {}) {
  const data = path.join(temporaryDirectory(t), 'data');
  emptyDevice(data);
  writeFiles(path.join(data, 'etc/phrases'), { 'de-de.txt': '9998?\tde-de\n' });
  const a = template({ JobTemplateName: '(string, compulsory) = A', Note: '(string) = old' });
  writeFiles(path.join(data, 'pool'), {
    'web/A.KTP': a,
    'system/default.ktp': a,
    'system/S.KTP': a,
    'factory/F.KTP': a,
    'mailbox/M.KTP': a,
    ...templates,
  });
  return data;
}

/** The bytes of a file of the pool as text; null when it is not there. */
export function stored(platend, name) {
  const file = path.join(platend.data, 'pool', name);
  return fs.existsSync(file) ? fs.readFileSync(file, 'latin1') : null;
}

const entities = { amp: '&', lt: '<', gt: '>', quot: '"', '#39': "'", '#13': '\r' };
const unescape = (text) => text.replace(/&(\w+|#\d+);/g, (all, name) => entities[name] ?? all);

/** What a page of formPages shows. */
export function read(answer) {
  const text = (id) => {
    const found = answer.body.match(new RegExp(`<p id="${id}">([^]*?)</p>`));
    return found && unescape(found[1]);
  };
  const json = (id) => {
    const found = answer.body.match(new RegExp(`<script type="application/json" id="${id}">([^]*?)</script>`));
    return found && JSON.parse(found[1]);
  };
  return {
    ...answer,
    title: answer.body.match(/<h1>(.*?)<\/h1>/)?.[1],
    token: unescape(answer.body.match(/name="token" value="([^"]*)"/)?.[1] ?? ''),
    reason: text('reason'),
    notice: text('notice'),
    posted: json('posted'),
    login: json('login'),
    accounts: json('accounts'),
    template: json('template'),
  };
}

/** Encodes [[name, value], ...] as a browser posts it. */
export const encode = (fields) => new URLSearchParams(fields).toString();

/** Someone with a browser. */
export class Visitor {
  constructor(platend) {
    this.platend = platend;
    this.cookies = new Map();
  }

  async ask(target, options = {}) {
    const cookie = [...this.cookies].map(([name, value]) => `${name}=${value}`).join('; ');
    const headers = { ...(cookie && { cookie }), ...options.headers };
    const answer = await request(this.platend.address, target, { ...options, headers });
    for (const line of answer.headers['set-cookie'] ?? []) {
      const [, name, value] = line.match(/^([^=]+)=([^;]*)/);
      this.cookies.set(name, value);
    }
    return read(answer);
  }

  get(target) {
    return this.ask(target);
  }

  /** Posts a body as it is, from a page of the device itself. */
  send(target, body, headers = {}) {
    const origin = this.platend.address.replace(/\/$/, '');
    const type = 'application/x-www-form-urlencoded';
    return this.ask(target, {
      method: 'POST',
      body,
      headers: { origin, 'content-type': type, 'content-length': Buffer.byteLength(body), ...headers },
    });
  }

  /** Opens `from` and posts the form with its token and `fields`, {name: value} or pairs. */
  async post(from, target, fields = {}) {
    const { token } = await this.get(from);
    const pairs = Array.isArray(fields) ? fields : Object.entries(fields);
    return this.send(target, encode([['token', token], ...pairs]));
  }

  logIn(name, password, extra = {}) {
    return this.post('/login.html', '/do/login', { name, password, ...extra });
  }
}

export const adminPassword = 'the first password';

/** Starts a platend with formPages whose administrator is logged in and has chosen a password. */
export async function startWithAdmin(t, { templates, args } = {}) {
  const platend = await startPlatend(t, { pages: formPages, data: formDevice(t, templates), args });
  const admin = new Visitor(platend);
  await admin.logIn('admin', platend.firstPassword);
  await admin.post('/password.html', '/do/password', {
    old: platend.firstPassword,
    new: adminPassword,
    repeat: adminPassword,
  });
  await admin.get('/index.html');
  return { platend, admin };
}

/** Adds an account and returns its visitor, logged in, with a password of its own. */
export async function addUser(platend, admin, name = 'anna') {
  await admin.post('/accounts.html', '/do/account', { what: 'add', name, role: 'user' });
  const { notice } = await admin.get('/accounts.html');
  const given = notice.match(/password is (\S+)/)[1];
  const user = new Visitor(platend);
  await user.logIn(name, given);
  const next = { new: `password of ${name}`, repeat: `password of ${name}` };
  await user.post('/password.html', '/do/password', { old: given, ...next });
  await user.get('/index.html');
  return user;
}

/** The address of a page for a template. */
export const pageFor = (name, file) => `/${name}.html?ParserFilename=${encodeURIComponent(file)}`;

/** The fields of a run that updates an attribute; `was` is [value, type, compulsory] or missing. */
export function update(attribute, value, { was, type = 'string', compulsory = false, invocation = 'one' } = {}) {
  const fields = [
    ['ServiceName', 'qvn_svc_general'],
    ['InvocationName', invocation],
    ['AttributeName', attribute],
    ['AttributeType', type],
    ['AttributeValue', value],
    ['Compulsory', compulsory ? 'TRUE' : 'FALSE'],
  ];
  if (was !== undefined) {
    fields.push(['was', JSON.stringify({ value: was, type, compulsory })]);
  }
  return [...fields, ['Action', 'update']];
}
