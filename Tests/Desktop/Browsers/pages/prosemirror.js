// SPDX-License-Identifier: MIT
import { EditorState } from 'prosemirror-state';
import { EditorView } from 'prosemirror-view';
import { schema } from 'prosemirror-schema-basic';
import { keymap } from 'prosemirror-keymap';
import { baseKeymap } from 'prosemirror-commands';
export function make(parent) {
  const fresh = () => EditorState.create({ schema, plugins: [keymap(baseKeymap)] });
  const view = new EditorView(parent, { state: fresh() });
  view.dom.style.height = '100%';
  return { focus: () => view.focus(), get: () => view.state.doc.textContent, clear: () => view.updateState(fresh()) };
}
