// Writes syntaxes/KEL.tmLanguage, the grammar as a property list: the form Sublime Text (and the
// older TextMate editors) read. The JSON grammar is the one that is edited; run this after a change
// (`node tools/sublime.js`); the editor test fails while the two differ.
'use strict';
const fs = require('fs');
const path = require('path');

const escape = (s) => s.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');

function value(v, indent) {
  const pad = '\t'.repeat(indent);
  if (typeof v === 'string') return `${pad}<string>${escape(v)}</string>\n`;
  if (typeof v === 'boolean') return `${pad}<${v}/>\n`;
  if (Number.isInteger(v)) return `${pad}<integer>${v}</integer>\n`;
  if (Array.isArray(v)) return `${pad}<array>\n${v.map((x) => value(x, indent + 1)).join('')}${pad}</array>\n`;
  if (v && typeof v === 'object') {
    const keys = Object.keys(v).sort();
    const body = keys.map((k) => `${pad}\t<key>${escape(k)}</key>\n${value(v[k], indent + 1)}`).join('');
    return `${pad}<dict>\n${body}${pad}</dict>\n`;
  }
  throw new Error(`no property list form for ${JSON.stringify(v)}`);
}

function toPlist(grammar) {
  return (
    '<?xml version="1.0" encoding="UTF-8"?>\n' +
    '<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n' +
    '<plist version="1.0">\n' +
    value(grammar, 0) +
    '</plist>\n'
  );
}

const syntaxes = path.join(__dirname, '..', 'syntaxes');
const fromJson = () => toPlist(JSON.parse(fs.readFileSync(path.join(syntaxes, 'kel.tmLanguage.json'), 'utf8')));

if (require.main === module) fs.writeFileSync(path.join(syntaxes, 'KEL.tmLanguage'), fromJson());

module.exports = { toPlist, fromJson, plistPath: path.join(syntaxes, 'KEL.tmLanguage') };
