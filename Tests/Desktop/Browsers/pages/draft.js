// SPDX-License-Identifier: MIT
import React from 'react';
import { createRoot } from 'react-dom/client';
import { Editor, EditorState, ContentState } from 'draft-js';
export async function make(parent) {
  let state, setState, ref = React.createRef();
  const App = () => { [state, setState] = React.useState(() => EditorState.createEmpty()); return React.createElement(Editor, { editorState: state, onChange: setState, ref }); };
  createRoot(parent).render(React.createElement(App));
  await new Promise(r => setTimeout(r, 300));
  return { focus: () => ref.current.focus(), get: () => state.getCurrentContent().getPlainText(), clear: () => setState(EditorState.moveFocusToEnd(EditorState.push(state, ContentState.createFromText(''), 'remove-range'))) };
}
