// Pages in PHP over HTTP: a fault costs its own request only.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { startPlatend } from './platend.mjs';

const fine = '<!DOCTYPE html><title>fine</title><p><?= htmlspecialchars($_GET["ServiceName"]) ?></p>';

const faulty = {
  'error.php': ['<p>part</p><?php nothing();', /error\.php line 1: Uncaught Error: Call to undefined function nothing\(\)/],
  'syntax.php': ['<p>part</p><?php if', /syntax\.php line 1: syntax error/],
  'loop.php': ['<p>part</p><?php while (true);', /loop\.php line 1: Maximum execution time of 2 seconds exceeded/],
  'memory.php': ['<p>part</p><?php $a = []; while (true) $a[] = str_repeat("x", 100000);', /memory\.php line 1: Allowed memory size of 33554432 bytes exhausted/],
  'deep.php': ['<p>part</p><?php function f() { f(); } f();', /deep\.php line 1: Allowed memory size/],
  'flood.php': ['<?php while (true) echo str_repeat("x", 1000000);', /flood\.php: the page prints more than 16 MiB/],
};

const pages = { 'fine.php': fine, ...Object.fromEntries(Object.entries(faulty).map(([name, [text]]) => [name, text])) };

test('a faulty page is a 500 without a part of it, and its cause is in the log', async (t) => {
  const platend = await startPlatend(t, { pages });
  for (const [name, [, cause]] of Object.entries(faulty)) {
    const { status, body } = await platend.get(`/${name}`);
    assert.equal(status, 500, name);
    assert.match(body, /<h1>500 Internal Server Error<\/h1>/, name);
    assert.doesNotMatch(body, /part|xxx|nothing\(\)/, name);
    await platend.logged(cause);
  }
});

test('faulty pages beside good ones harm no other request and no worker', async (t) => {
  const platend = await startPlatend(t, { pages, args: ['--workers', '2'] });
  const asked = [];
  for (let i = 0; i < 60; ++i) {
    asked.push(platend.get(`/fine.php?ServiceName=a%26${i}`).then(({ status, body }) => [status, body.includes(`<p>a&amp;${i}</p>`)]));
    if (i % 4 === 0) asked.push(platend.get('/memory.php').then(({ status }) => [status, true]));
    if (i % 4 === 1) asked.push(platend.get('/error.php').then(({ status }) => [status, true]));
  }
  const answers = await Promise.all(asked);
  assert.equal(answers.filter(([status, right]) => status === 200 && right).length, 60);
  assert.equal(answers.filter(([status]) => status === 500).length, 30);
  assert.doesNotMatch(platend.log, /Worker \d+ has ended/);
});

test('an endless wait is given up with 504 by the watchdog', async (t) => {
  const waits = { 'wait.php': '<p>part</p><?php while (true) { time(); }' };
  const platend = await startPlatend(t, { pages: waits, args: ['--request-time', '1'] });
  const { status, body } = await platend.get('/wait.php');
  assert.equal(status, 504);
  assert.doesNotMatch(body, /part/);
  await platend.logged(/Worker \d+ has ended: more than 1 s/);
});

test('the source of a page is never sent', async (t) => {
  const platend = await startPlatend(t, { pages: { ...pages, 'dir/index.php': fine } });
  assert.equal((await platend.get('/dir/?ServiceName=x')).body, '<!DOCTYPE html><title>fine</title><p>x</p>');
  for (const target of ['/fine.php/', '/fine.php%00', '/static/../fine.php', '/fine.PHP', '/.php']) {
    const { status, body } = await platend.get(target);
    assert.ok(status >= 400, target);
    assert.doesNotMatch(body, /htmlspecialchars/, target);
  }
  const { status, body } = await platend.get('/fine.php?nothing=1');
  assert.equal(status, 400);
  assert.match(body, /nothing/);
});
