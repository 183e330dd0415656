// VS Code side of the KEL extension: the grammar and language come from package.json; this file
// runs `rykel check --json FILE` when a template is opened or saved and shows what it finds.
'use strict';
const vscode = require('vscode');
const { execFile } = require('child_process');
const fs = require('fs');
const path = require('path');
const { parseCheckOutput, diagnosticsByFile } = require('./lib/diagnostics');

const SEVERITY = {
  error: vscode.DiagnosticSeverity.Error,
  warning: vscode.DiagnosticSeverity.Warning,
  information: vscode.DiagnosticSeverity.Information,
  hint: vscode.DiagnosticSeverity.Hint,
};

function activate(context) {
  const collection = vscode.languages.createDiagnosticCollection('kel');
  const output = vscode.window.createOutputChannel('KEL');
  const runs = new Map(); // template path -> number of its latest run (older results are dropped)
  const reported = new Map(); // template path -> files its latest run put diagnostics on
  let warnedMissing = false;

  // Lines of a file as the editor has them when it is open, else as saved.
  const readLines = (file) => {
    const open = vscode.workspace.textDocuments.find((d) => d.uri.fsPath === file);
    if (open) return open.getText().split(/\r?\n/);
    try {
      return fs.readFileSync(file, 'utf8').split(/\r?\n/);
    } catch {
      return null;
    }
  };

  const publish = (template, byFile) => {
    for (const file of reported.get(template) || []) if (!byFile.has(file)) collection.delete(vscode.Uri.file(file));
    if (!byFile.has(template)) byFile.set(template, []);
    for (const [file, list] of byFile) {
      collection.set(
        vscode.Uri.file(file),
        list.map((d) => {
          const diag = new vscode.Diagnostic(new vscode.Range(d.line, d.start, d.line, d.end), d.message, SEVERITY[d.severity]);
          diag.source = 'rykel check';
          return diag;
        }),
      );
    }
    reported.set(template, [...byFile.keys()]);
  };

  const check = (doc) => {
    if (doc.languageId !== 'kel' || doc.uri.scheme !== 'file') return;
    const config = vscode.workspace.getConfiguration('kel', doc.uri);
    if (!config.get('checkOnSave', true)) return;
    const program = config.get('rykelPath', 'rykel') || 'rykel';
    const file = doc.uri.fsPath;
    const cwd = path.dirname(file);
    const run = (runs.get(file) || 0) + 1;
    runs.set(file, run);
    execFile(program, ['check', '--json', file], { cwd, timeout: 20000, maxBuffer: 16 << 20 }, (err, stdout, stderr) => {
      if (runs.get(file) !== run) return;
      if (err && err.code === 'ENOENT') {
        if (!warnedMissing) vscode.window.showWarningMessage(`KEL: the program "${program}" was not found; set kel.rykelPath.`);
        warnedMissing = true;
        return;
      }
      // Exit 0: nothing found, 1: findings; anything else is a failure of the run itself.
      const status = err ? err.code : 0;
      if (status !== 0 && status !== 1) {
        output.appendLine(`${program} check --json ${file}: ${String(stderr).trim() || err.message}`);
        vscode.window.setStatusBarMessage('KEL: rykel check failed (see the KEL output)', 5000);
        return;
      }
      try {
        publish(file, diagnosticsByFile(parseCheckOutput(stdout), cwd, readLines));
      } catch (e) {
        output.appendLine(`${file}: ${e.message}`);
      }
    });
  };

  context.subscriptions.push(
    collection,
    output,
    vscode.workspace.onDidOpenTextDocument(check),
    vscode.workspace.onDidSaveTextDocument(check),
    vscode.workspace.onDidCloseTextDocument((doc) => {
      for (const f of reported.get(doc.uri.fsPath) || []) collection.delete(vscode.Uri.file(f));
      reported.delete(doc.uri.fsPath);
      runs.delete(doc.uri.fsPath);
    }),
  );
  vscode.workspace.textDocuments.forEach(check);
}

function deactivate() {}

module.exports = { activate, deactivate };
