// From `rykel check --json` output to diagnostics, and the extension's run of it on save (with a
// stand-in for the editor's API and for the program).
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const Module = require('module');
const { execFileSync } = require('child_process');
const { parseCheckOutput, markedRange, diagnosticsByFile } = require('../lib/diagnostics');

const root = path.join(__dirname, '..', '..', '..');

test('findings become ranges in UTF-16 units, grouped by file', () => {
  const out = JSON.stringify([
    { file: 'pages/a.kel', line: 2, column: 4, severity: 'error', message: 'IF requires 2 or 3 parameters, 1 were given!' },
    { file: 'pages/a.kel', line: 1, column: 9, severity: 'warning', message: 'Cannot execute: VARR' },
    { file: '/abs/inc/b.kel', line: 3, column: 2, severity: 'fatal', message: 'quote inside COMMENT' },
    { file: 'pages/a.kel', line: 9, column: 1, severity: 'error', message: 'past the end' },
  ]);
  const files = { '/site/pages/a.kel': ['Grüße 😀 {VARR x}', '<p>{IF (1 == 1)}</p>'], '/abs/inc/b.kel': null };
  const byFile = diagnosticsByFile(parseCheckOutput(out), '/site', (f) => files[f]);
  assert.deepStrictEqual([...byFile.keys()], ['/site/pages/a.kel', '/abs/inc/b.kel']);
  assert.deepStrictEqual(byFile.get('/site/pages/a.kel'), [
    // the whole command from its "{"
    { line: 1, start: 3, end: 16, severity: 'error', message: 'IF requires 2 or 3 parameters, 1 were given!' },
    // column 9 counts the emoji as one character: UTF-16 offset 9
    { line: 0, start: 9, end: 17, severity: 'warning', message: 'Cannot execute: VARR' },
    // a line the file does not have: one character at the column
    { line: 8, start: 0, end: 1, severity: 'error', message: 'past the end' },
  ]);
  // an unknown severity counts as an error; an unreadable file marks one character
  assert.deepStrictEqual(byFile.get('/abs/inc/b.kel'), [
    { line: 2, start: 1, end: 2, severity: 'error', message: 'quote inside COMMENT' },
  ]);
  assert.deepStrictEqual(diagnosticsByFile(parseCheckOutput('[]\n'), '/', () => null), new Map());
});

test('marked ranges: commands, words, quotes, line ends', () => {
  const cases = [
    ['{VAR a "}"} rest', 1, [0, 11]], // the quoted "}" does not close the command
    ['{IF (x) {a {b}}}', 1, [0, 16]],
    ['{VAR a "x}', 1, [0, 1]], // never closes on the line: its brace alone
    ['x {DB:QUERY ORT}', 4, [3, 11]],
    ['abc', 4, [3, 3]], // at the end of the line
    ['a  b', 2, [1, 2]],
  ];
  for (const [line, column, want] of cases) assert.deepStrictEqual(markedRange(line, column), want, `${line} @${column}`);
});

test('output that is not a list of findings is refused with a clear message', () => {
  const bad = [
    ['', /gave no JSON.*\(no output\)/],
    ['rykel: unknown command check', /gave no JSON.*unknown command/],
    ['{"file": "a"}', /no array/],
    ['[{"file": "a", "line": 0, "column": 1, "message": "m"}]', /finding 1 lacks/],
    ['[{"file": "a", "line": 1, "column": 1}]', /finding 1 lacks/],
  ];
  for (const [text, message] of bad) assert.throws(() => parseCheckOutput(text), message, text);
});

// A stand-in for the part of the editor's API the extension uses, recording what it is given.
function fakeEditor(settings) {
  const handlers = {};
  const state = { set: new Map(), deleted: [], warnings: [], lines: [] };
  const uri = (p) => ({ fsPath: p, scheme: 'file', toString: () => p });
  const vscode = {
    DiagnosticSeverity: { Error: 0, Warning: 1, Information: 2, Hint: 3 },
    Range: class { constructor(a, b, c, d) { Object.assign(this, { line: a, start: b, endLine: c, end: d }); } },
    Diagnostic: class { constructor(range, message, severity) { Object.assign(this, { range, message, severity }); } },
    Uri: { file: uri },
    languages: { createDiagnosticCollection: () => ({
      set: (u, list) => state.set.set(u.fsPath, list),
      delete: (u) => state.deleted.push(u.fsPath),
      dispose() {},
    }) },
    window: {
      createOutputChannel: () => ({ appendLine: (l) => state.lines.push(l), dispose() {} }),
      showWarningMessage: (m) => state.warnings.push(m),
      setStatusBarMessage: (m) => state.lines.push(m),
    },
    workspace: {
      textDocuments: [],
      getConfiguration: () => ({ get: (k, d) => (k in settings ? settings[k] : d) }),
      onDidOpenTextDocument: (h) => (handlers.open = h),
      onDidSaveTextDocument: (h) => (handlers.save = h),
      onDidCloseTextDocument: (h) => (handlers.close = h),
    },
  };
  return { vscode, handlers, state, doc: (p) => ({ languageId: 'kel', uri: uri(p) }) };
}

function loadExtension(vscode) {
  const resolve = Module._resolveFilename;
  Module._resolveFilename = function (request, ...rest) {
    return request === 'vscode' ? 'vscode' : resolve.call(this, request, ...rest);
  };
  require.cache.vscode = { id: 'vscode', filename: 'vscode', loaded: true, exports: vscode };
  delete require.cache[require.resolve('../extension.js')];
  try {
    return require('../extension.js');
  } finally {
    Module._resolveFilename = resolve;
  }
}

const settle = (ms = 400) => new Promise((r) => setTimeout(r, ms));

test('on save the extension runs the program and publishes its findings', async () => {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'kel-ext-'));
  const page = path.join(dir, 'page.kel');
  fs.writeFileSync(page, 'ok\n<p>{IF (1)}</p>\n');
  // The program stands in for rykel: it answers with the findings and exit status it is given.
  const program = path.join(dir, 'rykel');
  fs.writeFileSync(program, '#!/bin/sh\n[ "$1 $2" = "check --json" ] || exit 2\ncat "$3.out"; exit $(cat "$3.status")\n');
  fs.chmodSync(program, 0o755);
  const answer = (json, status) => {
    fs.writeFileSync(page + '.out', json);
    fs.writeFileSync(page + '.status', String(status));
  };

  const ed = fakeEditor({ rykelPath: program });
  loadExtension(ed.vscode).activate({ subscriptions: [] });
  answer(JSON.stringify([{ file: page, line: 2, column: 4, severity: 'error', message: 'IF requires 2 or 3 parameters, 1 were given!' }]), 1);
  ed.handlers.save(ed.doc(page));
  await settle();
  const got = ed.state.set.get(page);
  assert.strictEqual(got.length, 1);
  assert.deepStrictEqual([got[0].range.line, got[0].range.start, got[0].range.end, got[0].severity], [1, 3, 11, 0]);
  assert.strictEqual(got[0].source, 'rykel check');

  answer('[]', 0); // fixed: the list is emptied
  ed.handlers.save(ed.doc(page));
  await settle();
  assert.deepStrictEqual(ed.state.set.get(page), []);

  answer('', 2); // the run itself failed: said in the output, diagnostics kept
  ed.handlers.save(ed.doc(page));
  await settle();
  assert.match(ed.state.lines.join('\n'), /check --json .*page\.kel/);
  ed.handlers.save({ languageId: 'html', uri: { fsPath: page, scheme: 'file' } }); // not a template: no run
  assert.deepStrictEqual(ed.state.warnings, []);

  const missing = fakeEditor({ rykelPath: path.join(dir, 'no-such-program') });
  loadExtension(missing.vscode).activate({ subscriptions: [] });
  missing.handlers.save(missing.doc(page));
  missing.handlers.save(missing.doc(page));
  await settle();
  assert.strictEqual(missing.state.warnings.length, 1, 'one warning for a missing program');
  assert.match(missing.state.warnings[0], /kel\.rykelPath/);
  fs.rmSync(dir, { recursive: true });
});

// The real program, when the build has one that knows `check` (RYKEL_CLI is set by ctest).
test('the output of the real rykel check is understood', (t) => {
  const cli = process.env.RYKEL_CLI;
  const broken = path.join(root, 'examples', 'site', 'pages', 'broken.kel');
  if (!cli || !fs.existsSync(cli)) return t.skip('RYKEL_CLI is not set');
  let stdout;
  try {
    stdout = execFileSync(cli, ['check', '--json', broken], { encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });
  } catch (e) {
    if (e.status !== 1) return t.skip(`this rykel has no check --json (exit ${e.status})`);
    stdout = e.stdout;
  }
  const lines = fs.readFileSync(broken, 'utf8').split('\n');
  const byFile = diagnosticsByFile(parseCheckOutput(stdout), root, () => lines);
  const found = byFile.get(broken) || [];
  assert.ok(found.length >= 2, `findings in broken.kel: ${stdout}`);
  for (const d of found) assert.ok(d.line >= 1 && d.line < lines.length && d.end > d.start, JSON.stringify(d));
});
