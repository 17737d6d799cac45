#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fetches the web editors that browsers.py tries into a folder, and bundles those that come in modules.
#   fetch.sh FOLDER
set -euo pipefail
pages=$(realpath "$(dirname "${BASH_SOURCE[0]}")/pages")
mkdir -p "$1"
cd "$1"
[ -e package.json ] || echo '{"private": true}' >package.json
npm install --legacy-peer-deps --no-audit --no-fund --silent esbuild@0.19 codemirror5@npm:codemirror@5 \
  codemirror6@npm:codemirror@6.0.1 @codemirror/{autocomplete,commands,language,lint,search,state,view} monaco-editor@0.44 \
  prosemirror-{commands,keymap,schema-basic,state,view} quill@2 draft-js react@18 react-dom@18 \
  lexical@0.20.0 @lexical/plain-text@0.20.0 ckeditor4@4.22.1
for editor in codemirror6 prosemirror draft lexical; do
  NODE_PATH=$PWD/node_modules node_modules/@esbuild/*/bin/esbuild "$pages/$editor.js" --bundle --format=esm --log-level=error \
    '--define:process.env.NODE_ENV="production"' --define:global=window --outfile="built/$editor.js"
done
