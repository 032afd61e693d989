// The sample device under test: platend with the device's own pages, and the people who use it.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { once } from 'node:events';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';

import { source, startPlatend, temporaryDirectory } from '../host/platend.mjs';
import { openBrowser, openPage } from './browser.mjs';

export const pages = path.join(source, 'pages');
export const samples = path.join(source, 'samples');
export const pool = '/tmp/template/pool/web';
export const password = 'correct horse battery';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

/** A copy of the sample device that platend serves, and a browser. */
export class Device {
  constructor(platend, browser, data) {
    Object.assign(this, { platend, browser, data });
  }

  /** The address of a page. */
  url(page, fields = {}) {
    const query = new URLSearchParams(fields).toString();
    return `${this.platend.address}${page}${query && `?${query}`}`;
  }

  /** The address of the page of that name for a template, in the web pool if not told otherwise. */
  templateUrl(page, name, directory = pool) {
    return this.url(`${page}.html`, { ParserFilename: `${directory}/${name}` });
  }

  path(name, folder = 'web') {
    return path.join(this.data, 'pool', folder, name);
  }

  read(name, folder) {
    return fs.readFileSync(this.path(name, folder), 'utf8');
  }

  write(name, text, folder) {
    fs.writeFileSync(this.path(name, folder), text);
  }

  async firstPassword() {
    const line = /^First login: admin \/ (\S+) /m;
    while (!line.test(this.platend.output)) await once(this.platend.child.stdout, 'data');
    return this.platend.output.match(line)[1];
  }

  /** A page in a browser context of its own; nobody is logged in. */
  async visit(options) {
    const page = await openPage(this.browser, options);
    page.setDefaultTimeout(10000);
    return page;
  }

  /** A page of a new account, whose password is changed at the first login. */
  async user(name, secret, options) {
    const page = await this.visit(options);
    await page.goto(this.url('login.html'));
    await logIn(page, name, secret);
    await choosePassword(page, secret, password);
    await page.locator('.who', { hasText: name }).waitFor();
    return page;
  }

  /** A page of the administrator, who chooses a password at the first login. */
  async administrator(options) {
    if (!this.isUsed) {
      this.isUsed = true;
      return this.user('admin', await this.firstPassword(), options);
    }
    const page = await this.visit(options);
    await page.goto(this.url('login.html'));
    await logIn(page, 'admin', password);
    await page.locator('.who', { hasText: 'admin' }).waitFor();
    return page;
  }
}

/** Starts a device for the test `t`; `prepare` gets the directory of its data before. */
export async function startDevice(t, prepare = () => {}) {
  const data = path.join(temporaryDirectory(t), 'data');
  fs.cpSync(samples, data, { recursive: true });
  prepare(data);
  const platend = await startPlatend(t, { pages, data });
  return new Device(platend, await openBrowser(t), data);
}

/** Fills in the login form that `page` shows. */
export async function logIn(page, name, secret) {
  await page.getByLabel('Name').fill(name);
  await page.getByLabel('Password', { exact: true }).fill(secret);
  await follow(page, page.getByRole('button', { name: 'Log in' }));
}

/** Fills in the password form that `page` shows. */
export async function choosePassword(page, old, wanted) {
  await page.getByLabel('Present password').fill(old);
  await page.getByLabel('New password', { exact: true }).fill(wanted);
  await page.getByLabel('New password again').fill(wanted);
  await follow(page, page.getByRole('button', { name: 'Change the password' }));
}

/** Clicks what leads to another page, and waits until that has run its scripts. */
export async function follow(page, target) {
  await Promise.all([page.waitForEvent('load'), target.click()]);
}

/** The control of a field of the editor. */
export function field(page, label) {
  return page.getByLabel(label, { exact: true });
}

/** Sends the editor's form and waits for what the host answers. */
export async function save(page) {
  const [response] = await Promise.all([
    page.waitForResponse((answer) => answer.request().method() === 'POST'),
    follow(page, page.getByRole('button', { name: 'Save', exact: true })),
  ]);
  return response.status();
}

/** Saves, and makes sure that it is saved. */
export async function saveDone(page) {
  assert.equal(await save(page), 303);
  await page.locator('.notice', { hasText: 'Saved.' }).waitFor();
}

/** The words of a page that a person sees, by the place's selector. */
export function shown(page, selector) {
  return page.locator(selector).locator('visible=true').allInnerTexts();
}

/** Fails when the page is wider than its window, or axe finds a fault. */
export async function checkLooks(page, what) {
  const { width } = page.viewportSize();
  assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width, what);
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => globalThis.axe.run());
  assert.deepEqual(
    violations.map(({ id, nodes }) => [id, nodes[0].html]),
    [],
    what,
  );
}
