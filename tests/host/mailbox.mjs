// A device with mailbox folders and jobs for tests, and pages that show all that they are given.
// SPDX-License-Identifier: MIT
import fs from 'node:fs';
import path from 'node:path';
import { startPlatend } from './platend.mjs';
import { Visitor, adminPassword, formDevice, formPages } from './visitor.mjs';

const body = (title) => `<h1>${title}</h1><form method="post"><!--#token--></form>
<p id="reason"><!--#reason--></p><p id="notice"><!--#notice--></p>
<script type="application/json" id="posted"><!--#posted--></script>
<script type="application/json" id="jobs"><!--#jobs--></script>
<script type="application/json" id="mailbox"><!--#mailbox--></script>`;

const folders = `<?php
class FolderInfo { function __construct(public $file, public $private, public $sid) {} }
class FolderList { public $all = []; function AddFolderToList($folder) { $this->all[] = $folder; } }
$gFolderList = new FolderList();
$gJobPasswords = [];
<!--#parser fn="HTTP_Parser_Mailbox_List_fn" arg="/tmp/template/pool/mailbox" format="php"-->
<!--#parser fn="HTTP_Parser_Folder_Passwords_List_fn" format="php"-->
<!--#parser fn="HTTP_Parser_Job_Passwords_List_fn" format="php"-->
$session = json_decode(<!--#session-->, true);
$shown = ['query' => $_GET, 'protected' => array_map('strval', array_keys($gJobPasswords))];
foreach ($gFolderList->all as $folder) {
  $shown['folders'][$folder->file] = [$folder->private, $folder->sid === $session['sid']];
}
?>`;

const page = (title) => `<!DOCTYPE html><title>${title}</title>${folders}${body(title)}
<pre id="php"><?= htmlspecialchars(json_encode($shown)) ?></pre>`;

export const mailboxPages = Object.fromEntries([
  ...Object.entries(formPages),
  ...['index', 'pin', 'folder', 'action', 'do_action', 'settings'].map((name) => [`mailbox/${name}.php`, page(name)]),
  // A page that somebody forgot to think of.
  ['leak.php', page('leak')],
]);

/** A job's log with a password, or without. */
export const log = (password) =>
  '[service qvn_svc_general]\n  [invocation one]\n    JobTemplateName (string) = job\n' +
  (password === undefined
    ? ''
    : `[service qvn_dscrpt_metadata]\n  [invocation one]\n    MetaDataFieldName (string) = S2M_JOB_PASSWORD\n    MetaDataValue (string) = ${password}\n`);

const folderTemplate = '[service qvn_svc_general]\n  [invocation one]\n    JobTemplateName (string) = folder\n';

export const spool = (platend, name = '') => path.join(platend.data, 'spool/image_store/s2mailbox', name);

const pins = { 'anna.password': '2468', 'bert.password': '1357' };

/** A device with a public folder, two private ones, and jobs of every kind. */
export function mailboxDevice(t, { templates = {}, jobs = {}, settings = pins } = {}) {
  const data = formDevice(t, {
    'factory/MAILBOX.KTP': folderTemplate,
    'mailbox/_PUBLIC.KTP': folderTemplate,
    'mailbox/anna.KTP': folderTemplate,
    'mailbox/bert.KTP': folderTemplate,
    'mailbox/open.KTP': folderTemplate,
    ...templates,
  });
  const files = {
    'open/job1.d/job1.KTP': log(),
    'open/job1.d/scan.pdf': '%PDF free',
    'open/job2.d/job2.KTP': log('secret2'),
    'open/job2.d/scan.pdf': '%PDF locked',
    'open/job3.d/scan.pdf': '%PDF without log',
    'open/flat.KTP': log('secretflat'),
    'open/flat.pdf': '%PDF flat',
    'open/other.KTP': log('secretother'),
    'open/other.pdf': '%PDF other',
    'open/loose.KTP': log(),
    'open/loose.tif': 'II*',
    'anna/job7.d/job7.KTP': log('secret7'),
    'anna/job7.d/scan.tif': 'II* anna',
    'anna/job8.d/job8.KTP': log(),
    'anna/job8.d/scan.tif': 'II* free',
    'bert/job9.d/job9.KTP': log(),
    'bert/job9.d/scan.tif': 'II* bert',
    ...jobs,
  };
  for (const [name, text] of Object.entries(files)) {
    const file = path.join(data, 'spool/image_store/s2mailbox', name);
    fs.mkdirSync(path.dirname(file), { recursive: true });
    fs.writeFileSync(file, text);
  }
  const lines = Object.entries(settings).map(([key, value]) => `scanToMailbox.${key}\t${value}\n`);
  fs.writeFileSync(path.join(data, 'etc/settings.txt'), lines.join(''));
  return data;
}

/** Someone with a browser in front of the mailbox. */
export class MailboxVisitor extends Visitor {
  async ask(target, options) {
    const answer = await super.ask(target, options);
    const php = answer.body.match(/<pre id="php">([^]*?)<\/pre>/)?.[1].replaceAll('&quot;', '"').replaceAll('&amp;', '&');
    const json = (id) => answer.body.match(new RegExp(`id="${id}">([^]*?)</script>`))?.[1];
    return {
      ...answer,
      location: answer.headers.location,
      php: php && JSON.parse(php),
      jobs: json('jobs') && JSON.parse(json('jobs')),
      mailbox: json('mailbox') && JSON.parse(json('mailbox')),
    };
  }

  givePin(name, pass, extra = {}) {
    const from = `/mailbox/pin.php?name=${encodeURIComponent(name)}`;
    return this.post(from, '/form/HTTP_Parser_Verify_Mbox_Password_fn', { name, pass, ...extra });
  }

  giveJobPassword(name, subf, file, action, pass, extra = {}) {
    const fields = { name, subf, file, action, pass, ...extra };
    return this.post('/mailbox/index.php', '/form/HTTP_Parser_Verify_Job_Password_fn', fields);
  }

  actOnJob(name, subf, file, action, from = '/mailbox/index.php') {
    return this.post(from, '/do/job', { name, subf, file, action });
  }
}

/** Starts a platend with the mailbox's device and pages. */
export async function startMailbox(t, { device = {}, args, pages = mailboxPages } = {}) {
  const data = mailboxDevice(t, device);
  const platend = await startPlatend(t, { pages, data, args });
  return { platend, visitor: () => new MailboxVisitor(platend) };
}

/** The administrator, logged in and with a password of his own. */
export async function administrator(platend) {
  const admin = new MailboxVisitor(platend);
  await admin.logIn('admin', platend.firstPassword);
  const next = { new: adminPassword, repeat: adminPassword };
  await admin.post('/password.html', '/do/password', { old: platend.firstPassword, ...next });
  await admin.get('/index.html');
  return admin;
}
