// The phrase files hold what pages and host say, in every language, and nothing else.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const source = fileURLToPath(new URL('../..', import.meta.url));
const phrases = path.join(source, 'pages/phrases');
const files = fs.readdirSync(phrases).filter((name) => name.endsWith('.txt'));
const english = 'en-us.txt';

// The language's own code, which no file holds.
const ownCode = '9998';

const matches = (text, pattern) => [...text.matchAll(pattern)].map(([, found]) => found);

/** The texts of the files of a directory whose names match, by their names. */
function textsOf(directory, pattern) {
  return fs
    .readdirSync(path.join(source, directory), { recursive: true })
    .filter((name) => pattern.test(name))
    .map((name) => [
      path.join(directory, name),
      fs.readFileSync(path.join(source, directory, name), 'utf8'),
    ]);
}

/** What stands in the quotation marks of one or several adjacent C++ string literals. */
const literalText = (literals) =>
  matches(literals, /"((?:[^"\\]|\\.)*)"/g)
    .join('')
    .replace(/\\(.)/g, '$1');

const LITERALS = /\b(?:said|Sentence(?:\s+\w+)?)\s*[({]\s*((?:"(?:[^"\\]|\\.)*"\s*)+)/g;

const pageTokens = textsOf('pages', /\.(html|inc|js|php)$/).flatMap(([name, text]) =>
  matches(text, /<!--#phrase id="([^"]*)"/g)
    .filter((token) => token !== ownCode)
    .map((token) => [token, name]),
);
const hostTokens = textsOf('host', /\.(cpp|h)$/).flatMap(([name, text]) =>
  matches(text, /Server_Translate_Phrase\(\s*"([^"]+)\?"/g).map((token) => [token, name]),
);
const sentences = textsOf('host', /\.(cpp|h)$/).flatMap(([name, text]) =>
  matches(text, LITERALS).map((literals) => [literalText(literals), name]),
);

/** The rows of a phrase file, {token: text}. Throws when it is not UTF-8. */
function rowsOf(file) {
  const bytes = fs.readFileSync(path.join(phrases, file));
  const lines = new TextDecoder('utf-8', { fatal: true }).decode(bytes).split('\n');
  return new Map(
    lines
      .filter((line) => line !== '' && !line.startsWith('#'))
      .map((line) => {
        const tab = line.indexOf('\t');
        return [line.slice(0, tab), line.slice(tab + 1)];
      }),
  );
}

const marksOf = (text) => (text.match(/\{\d?\}/g) ?? []).sort();

test('pages and host were found', () => {
  assert.ok(files.includes(english) && files.length > 1);
  assert.ok(pageTokens.length > 300 && hostTokens.length > 0 && sentences.length > 100);
});

test('every language has a text for all that is said', () => {
  for (const file of files) {
    const rows = rowsOf(file);
    // An English sentence is its own text.
    const needed = [...pageTokens, ...hostTokens, ...(file === english ? [] : sentences)];
    const lacking = needed.filter(([token]) => !rows.has(token));
    assert.deepEqual([...new Set(lacking.map(([token, name]) => `${name}: ${token}`))], [], file);
  }
});

test('no language has a text that nothing uses', () => {
  const used = new Set([...pageTokens, ...hostTokens, ...sentences].map(([token]) => token));
  for (const file of files) {
    assert.deepEqual([...rowsOf(file).keys()].filter((token) => !used.has(token)), [], file);
  }
});

test('a text leaves the same gaps in every language', () => {
  const originals = rowsOf(english);
  for (const file of files) {
    for (const [token, text] of rowsOf(file)) {
      const gaps = marksOf(originals.get(token) ?? token);
      assert.deepEqual(marksOf(text), gaps, `${file}: ${token}`);
    }
  }
});

test('the gaps of a sentence are counted from 1', () => {
  for (const [sentence, name] of sentences) {
    const gaps = [...new Set(marksOf(sentence))];
    assert.deepEqual(gaps, gaps.map((_, i) => `{${i + 1}}`), `${name}: ${sentence}`);
  }
});
