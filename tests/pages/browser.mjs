// Opens the real browser for a test, and notices what goes wrong in its pages.
// SPDX-License-Identifier: MIT
import { chromium } from 'playwright-core';

const flags = [
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

/** A browser with a fresh profile that goes with the test `t`. */
export async function openBrowser(t) {
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    chromiumSandbox: false,
    args: flags,
  });
  t.after(() => browser.close());
  return browser;
}

/** A page in a context of its own; `page.faults` collects console errors and refused or failed loads. */
export async function openPage(browser, options = {}) {
  const context = await browser.newContext(options);
  const page = await context.newPage();
  page.faults = [];
  page.on('console', (line) => {
    if (line.type() === 'error' || line.type() === 'warning') page.faults.push(line.text());
  });
  page.on('pageerror', (error) => page.faults.push(String(error)));
  page.on('requestfailed', (request) => {
    const { errorText } = request.failure();
    // What a page still loads when the test leaves it is given up, and no fault.
    if (errorText !== 'net::ERR_ABORTED') page.faults.push(`${errorText}: ${request.url()}`);
  });
  return page;
}
