// SPDX-License-Identifier: MIT
// Fills the page with the field or web editor that its address names, and does what the trial asks for.
// "hold": so many milliseconds are spent in each key.
const wanted = new URLSearchParams(location.search);
const field = document.getElementById("field");

const style = (href) => document.head.append(Object.assign(document.createElement("link"), { rel: "stylesheet", href }));
const script = (src) => new Promise((resolve, reject) => {
  document.head.append(Object.assign(document.createElement("script"), { src, onload: resolve, onerror: reject }));
});
const built = async (name) => (await import(`/built/${name}.js`)).make(field);
const spaced = (text) => text.replace(/\u00a0/g, " ");

const plain = (tag) => {
  const element = Object.assign(document.createElement(tag), { id: "field" });
  field.replaceWith(element);
  return { focus: () => element.focus(), get: () => element.value, clear: () => { element.value = ""; } };
};

const editors = {
  input: () => plain("input"),
  area: () => plain("textarea"),
  editable() {
    field.contentEditable = "true";
    return { focus: () => field.focus(), get: () => spaced(field.textContent), clear: () => { field.textContent = ""; } };
  },
  async codemirror5() {
    style("/npm/codemirror5/lib/codemirror.css");
    await script("/npm/codemirror5/lib/codemirror.js");
    const editor = CodeMirror(field, { lineWrapping: true });
    return { focus: () => editor.focus(), get: () => editor.getValue(), clear: () => editor.setValue("") };
  },
  async monaco() {
    await script("/npm/monaco-editor/min/vs/loader.js");
    require.config({ paths: { vs: "/npm/monaco-editor/min/vs" } });
    await new Promise((resolve) => require(["vs/editor/editor.main"], resolve));
    const editor = monaco.editor.create(field, { language: "plaintext", wordWrap: "on" });
    return { focus: () => editor.focus(), get: () => editor.getValue(), clear: () => editor.setValue("") };
  },
  async quill() {
    style("/npm/quill/dist/quill.snow.css");
    await script("/npm/quill/dist/quill.js");
    const editor = new Quill(field, { modules: { toolbar: false } });
    const get = () => spaced(editor.getText().replace(/\n+$/, ""));
    return { focus: () => editor.focus(), get, clear: () => editor.setContents([]) };
  },
  async ckeditor4() {
    window.CKEDITOR_BASEPATH = "/npm/ckeditor4/";
    await script("/npm/ckeditor4/ckeditor.js");
    plain("textarea");
    const editor = CKEDITOR.replace("field", { height: 500, versionCheck: false });
    await new Promise((resolve) => editor.on("instanceReady", resolve));
    const clear = () => new Promise((resolve) => editor.setData("", resolve));
    return { focus: () => editor.focus(), get: () => spaced(editor.editable().$.textContent), clear };
  },
  codemirror6: () => built("codemirror6"),
  prosemirror: () => built("prosemirror"),
  draft: () => built("draft"),
  lexical: () => built("lexical"),
};

const hold = Number(wanted.get("hold") ?? 0);
const spend = () => { for (const end = performance.now() + hold; performance.now() < end;); };
const ask = async (answer) => (await fetch("/next", { method: "POST", body: JSON.stringify(answer) })).json();

const editor = await editors[wanted.get("editor")]();
document.addEventListener("keydown", spend, true);
for (let answer = "ready"; ;) {
  editor.focus();
  const command = await ask(answer);
  if (command.open) {
    location.href = command.open;
    break;
  }
  if (command.clear) await editor.clear();
  answer = editor.get();
}
