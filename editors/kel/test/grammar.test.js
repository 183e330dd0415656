// The grammar against the interpreter: on every real template of the project (the examples, the
// interpreter's test cases, the kel blocks of docs/KEL.md, the syntax test samples) the commands the grammar marks at page
// level must start and end exactly where the interpreter's scan for "{" and its matching "}" puts
// them. That scan is restated here from the front end: braces nest, a quote jumps to its partner
// (braces inside do not count), an unclosed quote or brace runs to the end of the text, and inside
// <script> and <style> only "{$ ... $}" is a command.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const tm = require('vscode-textmate');
const onig = require('vscode-oniguruma');

const here = path.join(__dirname, '..');
const root = path.join(here, '..', '..');

async function loadGrammar() {
  const wasm = fs.readFileSync(require.resolve('vscode-oniguruma/release/onig.wasm')).buffer;
  await onig.loadWASM(wasm);
  const files = {
    'text.html.kel': path.join(here, 'syntaxes', 'kel.tmLanguage.json'),
    'text.html.basic': require.resolve('tm-grammars/grammars/html.json'),
  };
  // CSS and JavaScript are empty here: their grammars' own quirks (the JavaScript one misses a
  // "</script>" right after "if (x) {...}" on one line) are not what this test is about.
  const empty = (scopeName) => ({ scopeName, patterns: [] });
  const registry = new tm.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (p) => new onig.OnigScanner(p),
      createOnigString: (s) => new onig.OnigString(s),
    }),
    loadGrammar: async (scope) =>
      files[scope] ? tm.parseRawGrammar(fs.readFileSync(files[scope], 'utf8'), files[scope]) : empty(scope),
  });
  return registry.loadGrammar('text.html.kel');
}

// Braces of script and style sections are not commands, except "{$" and "$}"; they are masked
// character for character so that offsets stay those of the text.
function maskSections(text) {
  let out = text;
  for (const [start, end] of [['<script', '</script>'], ['<style', '</style>']]) {
    let p = out.indexOf(start);
    while (p >= 0) {
      const e = out.indexOf(end, p + start.length);
      const stop = e < 0 ? out.length : e + end.length;
      let s = '';
      for (let i = p; i < stop; i++) {
        const c = out[i];
        const keep = (c === '{' && out[i + 1] === '$') || (c === '}' && out[i - 1] === '$');
        s += (c === '{' || c === '}') && !keep ? '\u0001' : c;
      }
      out = out.slice(0, p) + s + out.slice(stop);
      p = out.indexOf(start, p + 1);
    }
  }
  return out;
}

// [open, close] of each page-level command as the interpreter finds them; close is the text's
// length when the command never closes (the scan stops there).
function interpreterSpans(text) {
  const w = maskSections(text);
  const spans = [];
  let pos = 0;
  for (;;) {
    const open = w.indexOf('{', pos);
    if (open < 0) return spans;
    let depth = 1;
    let i = open + 1;
    let close = -1;
    while (i < w.length && close < 0) {
      const c = w[i];
      if (c === '"' || c === "'") {
        const q = w.indexOf(c, i + 1);
        if (q < 0) break;
        i = q + 1;
        continue;
      }
      if (c === '{') depth++;
      else if (c === '}' && --depth === 0) close = i;
      i++;
    }
    if (close < 0) {
      spans.push([open, w.length]);
      return spans;
    }
    spans.push([open, close]);
    pos = close + 1;
  }
}

const NESTING = new Set(['meta.command.kel', 'comment.block.kel', 'meta.block.kel']);

// The grammar's page-level commands, the scopes of every token, and whether the text ended with
// every command closed (a command on a line after it is read at page level).
function grammarSpans(grammar, text) {
  const spans = [];
  const tokens = [];
  let stack = tm.INITIAL;
  let offset = 0;
  let open = -1;
  for (const line of text.split('\n')) {
    const r = grammar.tokenizeLine(line, stack);
    for (const t of r.tokens) {
      const s = t.scopes;
      const at = offset + t.startIndex;
      const piece = line.slice(t.startIndex, t.endIndex);
      tokens.push({ at, piece, scopes: s });
      const outer = s.findIndex((x) => NESTING.has(x));
      const pageLevel = outer >= 0 && s.slice(outer + 1).every((x) => !NESTING.has(x));
      const punct = s[s.length - 1];
      if (pageLevel && piece === '{' && /\.(command|comment)\.begin\.kel$/.test(punct)) open = at;
      if (pageLevel && piece === '}' && /\.(command|comment)\.end\.kel$/.test(punct)) {
        spans.push([open, at]);
        open = -1;
      }
    }
    stack = r.ruleStack;
    offset += line.length + 1;
  }
  if (open >= 0) spans.push([open, text.length]);
  const probe = grammar.tokenizeLine('{VAR:z}', stack).tokens[0].scopes;
  return { spans, tokens, closed: probe.join(' ') === 'text.html.kel meta.command.kel punctuation.section.command.begin.kel' };
}

function templates() {
  const found = [];
  const walk = (dir) => {
    for (const e of fs.readdirSync(dir, { withFileTypes: true })) {
      const p = path.join(dir, e.name);
      if (e.isDirectory()) walk(p);
      else if (e.name.endsWith('.kel')) found.push({ name: path.relative(root, p), text: fs.readFileSync(p, 'utf8') });
    }
  };
  walk(path.join(root, 'examples'));
  walk(path.join(root, 'tests'));
  // The syntax test samples without their header and assertion lines.
  walk(__dirname);
  for (const t of found.filter((x) => x.name.startsWith('editors')))
    t.text = t.text.split('\n').slice(1).filter((l) => !/^<!--\s*(\^|<~*-)/.test(l)).join('\n');
  const doc = fs.readFileSync(path.join(root, 'docs', 'KEL.md'), 'utf8');
  let n = 0;
  for (const m of doc.matchAll(/^```kel\n([\s\S]*?)\n```$/gm)) found.push({ name: `docs/KEL.md kel block ${++n}`, text: m[1] });
  return found;
}

test('page-level commands end where the interpreter ends them', async () => {
  const grammar = await loadGrammar();
  const all = templates();
  assert.ok(all.filter((t) => t.name.startsWith('examples')).length >= 9, 'the examples were not found');
  assert.ok(all.filter((t) => t.name.startsWith('docs')).length >= 20, 'the kel blocks of docs/KEL.md were not found');
  for (const t of all) {
    const want = interpreterSpans(t.text);
    const got = grammarSpans(grammar, t.text);
    assert.deepStrictEqual(got.spans, want, `${t.name}: commands differ`);
    const runsToEnd = want.length > 0 && want[want.length - 1][1] === t.text.length;
    assert.strictEqual(got.closed, !runsToEnd, `${t.name}: the grammar's state at the end`);
  }
});

test('the examples show no mistake and every variable reference as one', async () => {
  const grammar = await loadGrammar();
  for (const t of templates().filter((x) => x.name.startsWith('examples'))) {
    const { tokens } = grammarSpans(grammar, t.text);
    const bad = tokens.filter((k) => k.scopes.some((s) => s.startsWith('invalid.')));
    assert.deepStrictEqual(bad.map((k) => k.piece), [], `${t.name}: marked invalid`);
    // Every VAR:name outside comments is a reference keyword followed by a variable name.
    for (const m of t.text.matchAll(/VAR:([\w.]+)/g)) {
      const k = tokens.find((x) => x.at === m.index);
      if (k.scopes.includes('comment.block.kel')) continue;
      assert.ok(k.scopes.includes('keyword.other.reference.kel'), `${t.name} at ${m.index}: ${k.scopes}`);
      const name = tokens.find((x) => x.at === m.index + 4);
      assert.strictEqual(name.piece, m[1], `${t.name} at ${m.index}`);
      assert.ok(name.scopes.includes('variable.other.readwrite.kel'), `${t.name} at ${m.index}: ${name.scopes}`);
    }
  }
});

test('the property list grammar for Sublime Text is the JSON grammar', () => {
  const { fromJson, plistPath } = require('../tools/sublime');
  const plist = fs.readFileSync(plistPath, 'utf8');
  assert.ok(plist === fromJson(), 'syntaxes/KEL.tmLanguage is out of date: run node tools/sublime.js');
  // read back by a property list reader, it is the same grammar
  const strip = (o) => JSON.parse(JSON.stringify(o, (k, v) => (k === '$vscodeTextmateLocation' ? undefined : v)));
  const json = JSON.parse(fs.readFileSync(path.join(here, 'syntaxes', 'kel.tmLanguage.json'), 'utf8'));
  assert.deepStrictEqual(strip(tm.parseRawGrammar(plist, plistPath)), json);
});
