// Renders a template with the KEL grammar (shiki, in the colours of VS Code's Dark+ theme) to an
// HTML page and photographs it with headless Chromium (Debian's chromium package):
//   node tools/screenshot.mjs [TEMPLATE] [PNG]
// The defaults make docs/kel-editor.png from examples/report/pages/report.kel. Long lines wrap.
import { createHighlighter } from 'shiki';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.join(here, '..', '..', '..');
const template = path.resolve(process.argv[2] || path.join(root, 'examples/report/pages/report.kel'));
const png = path.resolve(process.argv[3] || path.join(root, 'docs/kel-editor.png'));

const grammar = JSON.parse(fs.readFileSync(path.join(here, '..', 'syntaxes', 'kel.tmLanguage.json'), 'utf8'));
const highlighter = await createHighlighter({
  themes: ['dark-plus'],
  langs: ['html', 'css', 'javascript', { ...grammar, name: 'kel', embeddedLangs: ['html', 'css', 'javascript'] }],
});
const source = fs.readFileSync(template, 'utf8').replace(/\n$/, '');
const code = highlighter.codeToHtml(source, { lang: 'kel', theme: 'dark-plus' });
const lines = source.split('\n');
// DejaVu Sans Mono at 14px advances 8.43px a character; a line wraps past the page's width.
const columns = Math.min(140, Math.max(...lines.map((l) => [...l].length)));
const width = Math.ceil(40 + 8.43 * columns);
const rows = lines.reduce((n, l) => n + Math.max(1, Math.ceil([...l].length / columns)), 0);
const height = 80 + 21 * rows;

const page = `<!DOCTYPE html><html><head><meta charset="utf-8"><style>
body { margin: 0; background: #1e1e1e; font: 14px/21px "DejaVu Sans Mono", monospace; }
.title { background: #252526; color: #ccc; font: 13px sans-serif; padding: 9px 16px; border-bottom: 1px solid #333; }
pre.shiki { margin: 0; padding: 14px 16px; background: #1e1e1e !important; font: inherit; white-space: pre-wrap; }
</style></head><body><div class="title">${path.relative(root, template)}</div>${code}</body></html>`;
const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'kel-shot-'));
fs.writeFileSync(path.join(dir, 'page.html'), page);
execFileSync('chromium', [
  '--headless=new', '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--hide-scrollbars',
  '--force-device-scale-factor=1', `--window-size=${width},${height}`,
  `--screenshot=${png}`, `file://${path.join(dir, 'page.html')}`,
], { stdio: ['ignore', 'ignore', 'ignore'] });
fs.rmSync(dir, { recursive: true });
console.log(`${png}: ${path.relative(root, template)}, ${lines.length} lines`);
