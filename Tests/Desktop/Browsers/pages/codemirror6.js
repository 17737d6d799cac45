// SPDX-License-Identifier: MIT
import { EditorView, minimalSetup } from 'codemirror6';
export function make(parent) {
  const view = new EditorView({ parent, extensions: [minimalSetup, EditorView.lineWrapping] });
  return { focus: () => view.focus(), get: () => view.state.doc.toString(), clear: () => view.dispatch({ changes: { from: 0, to: view.state.doc.length } }) };
}
