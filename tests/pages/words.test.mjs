// Every phrase that a page's scripts ask for stands in the page.
// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const pages = fileURLToPath(new URL('../../pages', import.meta.url));
const scripts = path.join(pages, 'static/editor');
const phraseId =
  /"((?:accounts|action|audit|clone|copy|delete|destinations|difference|edit|entries|file|history|list|metadata|password|pool|problems|status)\.[a-z.-]*[a-z])"/g;

const matches = (text, pattern) => [...text.matchAll(pattern)].map(([, found]) => found);

/** The page's text with its includes. */
function pageText(name) {
  const text = fs.readFileSync(path.join(pages, name), 'utf8');
  return text.replace(/<!--#include file="(.*?)"-->/g, (_, part) => pageText(part));
}

/** The texts of a script and of all that it imports. */
function scriptTexts(name, seen = new Set()) {
  if (seen.has(name)) return [];
  seen.add(name);
  const text = fs.readFileSync(path.join(scripts, name), 'utf8');
  const imported = matches(text, /from "\.\/(.*)"/g);
  return [text, ...imported.flatMap((other) => scriptTexts(other, seen))];
}

for (const name of fs.readdirSync(pages).filter((file) => file.endsWith('.html'))) {
  const text = pageText(name);
  if (!text.includes('id="words"')) continue;
  test(`the scripts of ${name} find their words`, () => {
    const own = matches(text, /src="\/static\/editor\/(.*?)"/g);
    const asked = new Set(
      own
        .flatMap((script) => scriptTexts(script))
        .join()
        .match(phraseId),
    );
    const given = matches(text, /^ *("[^"]*"): <!--#phrase/gm);
    assert.ok(asked.size > 0);
    assert.deepEqual(
      [...asked].filter((id) => !given.includes(id)),
      [],
    );
    assert.equal(new Set(given).size, given.length);
  });
}
