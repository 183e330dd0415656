// Turns the output of `rykel check --json` into diagnostics: one list per file, each with a
// zero-based range in UTF-16 code units (what editors count) and a severity. Knows no editor API,
// so it runs under plain node and its tests.
//
// The input is one JSON array: [{"file": "...", "line": 1, "column": 1, "severity": "error",
// "message": "..."}], line and column 1-based, the column counted in characters (code points).
'use strict';
const path = require('path');

const SEVERITIES = new Set(['error', 'warning', 'information', 'hint']);

// The findings of one run; throws an Error that says what was wrong with the output.
function parseCheckOutput(stdout) {
  let data;
  try {
    data = JSON.parse(stdout);
  } catch (e) {
    const head = String(stdout).trim().slice(0, 80);
    throw new Error(`rykel check --json gave no JSON (${e.message}): ${head || '(no output)'}`);
  }
  if (!Array.isArray(data)) throw new Error('rykel check --json gave no array');
  return data.map((f, i) => {
    const ok =
      f && typeof f.file === 'string' && Number.isInteger(f.line) && f.line >= 1 &&
      Number.isInteger(f.column) && f.column >= 1 && typeof f.message === 'string';
    if (!ok) throw new Error(`rykel check --json: finding ${i + 1} lacks file, line, column or message`);
    const severity = String(f.severity || 'error').toLowerCase();
    return { ...f, severity: SEVERITIES.has(severity) ? severity : 'error' };
  });
}

// The UTF-16 offset of the 1-based character column in a line (the line's end when past it).
function utf16Offset(lineText, column) {
  let offset = 0;
  let n = 1;
  for (const ch of lineText) {
    if (n === column) return offset;
    offset += ch.length;
    n++;
  }
  return lineText.length;
}

// [start, end) of what a finding at the column marks: a whole command when it starts with "{"
// and closes on the same line, else the word there, else one character.
function markedRange(lineText, column) {
  const start = utf16Offset(lineText, column);
  if (start >= lineText.length) return [start, start];
  if (lineText[start] === '{') {
    let depth = 0;
    for (let i = start; i < lineText.length; i++) {
      const c = lineText[i];
      if (c === '"' || c === "'") {
        const q = lineText.indexOf(c, i + 1);
        if (q < 0) break;
        i = q;
      } else if (c === '{') depth++;
      else if (c === '}' && --depth === 0) return [start, i + 1];
    }
    return [start, start + 1];
  }
  const word = /^[\p{L}\p{N}_.:%@-]+/u.exec(lineText.slice(start));
  return [start, start + (word ? word[0].length : 1)];
}

// Map of absolute file path -> [{line, start, end, severity, message}] (line zero-based).
// Relative paths are taken from cwd; readLines(file) gives a file's lines, or null when it cannot
// be read (the finding then marks one character at its column).
function diagnosticsByFile(findings, cwd, readLines) {
  const byFile = new Map();
  const lines = new Map();
  for (const f of findings) {
    const file = path.resolve(cwd, f.file);
    if (!lines.has(file)) lines.set(file, readLines(file));
    const text = lines.get(file);
    const line = f.line - 1;
    const lineText = text && line < text.length ? text[line] : null;
    const [start, end] = lineText === null ? [f.column - 1, f.column] : markedRange(lineText, f.column);
    if (!byFile.has(file)) byFile.set(file, []);
    byFile.get(file).push({ line, start, end, severity: f.severity, message: f.message });
  }
  return byFile;
}

module.exports = { parseCheckOutput, utf16Offset, markedRange, diagnosticsByFile };
