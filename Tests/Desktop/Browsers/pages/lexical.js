// SPDX-License-Identifier: MIT
import { createEditor, $getRoot, $createParagraphNode } from 'lexical';
import { registerPlainText } from '@lexical/plain-text';
export function make(parent) {
  const editor = createEditor({ namespace: 'trial', onError(e) { throw e; } });
  parent.contentEditable = 'true';
  editor.setRootElement(parent);
  registerPlainText(editor);
  const clear = () => editor.update(() => { const p = $createParagraphNode(); $getRoot().clear().append(p); p.select(); }, { discrete: true });
  clear();
  return { focus: () => { parent.focus(); editor.focus(); }, get: () => editor.getEditorState().read(() => $getRoot().getTextContent()), clear };
}
