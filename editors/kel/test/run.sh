#!/bin/sh
# The editor support's tests: vscode-tmgrammar-test on the syntax samples (test/*.kel, with the
# HTML, CSS and JavaScript grammars the KEL grammar embeds), then node's test runner on
# test/*.test.js. Exits 77 (skipped) when the npm packages are not installed (scripts/setup does).
set -eu
cd "$(dirname "$0")/.."
if [ ! -d node_modules/vscode-tmgrammar-test ]; then
  echo "editors/kel: npm packages missing (npm ci in editors/kel, or scripts/setup); skipped"
  exit 77
fi
grammars=node_modules/tm-grammars/grammars
node node_modules/vscode-tmgrammar-test/dist/unit.js \
  -g $grammars/html.json -g $grammars/css.json -g $grammars/javascript.json 'test/*.kel'
node --test test/*.test.js
