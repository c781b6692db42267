// share.js - what leaves the page and comes back: copies, pasted texts, results, presets.
//
// The server parses and writes all texts. The page shows them.

import { make } from "./controls.js";
import { call } from "./live.js";

const at = (id) => document.getElementById(id);
let hooks = {};

function toClipboard(text, button) {
  const confirm = () => {
    button.textContent = "Copied";
    setTimeout(() => { button.textContent = "Copy"; }, 1500);
  };
  const area = button.closest(".copy").querySelector("textarea");
  area.select();
  navigator.clipboard?.writeText(text).then(confirm, () => document.execCommand("copy") && confirm());
}

const FORMS = [["command", "Command line"], ["folder", "Command line for a folder"], ["lua", "Lua"],
  ["recipe", "Recipe"], ["link", "Link"]];

export async function openCopy() {
  const list = at("copies");
  list.replaceChildren();
  at("copy-dialog").showModal();
  try {
    const { json } = await call("copy", hooks.request());
    for (const [name, title] of FORMS.filter(([each]) => each in json)) {
      const text = json[name];
      const area = make("textarea", { readOnly: true, value: text, id: `copy-${name}`, "aria-label": title,
        rows: Math.min(9, Math.max(2, text.split("\n").length + 1)), spellcheck: false });
      const button = make("button", { type: "button", textContent: "Copy", "aria-label": `Copy ${title}` });
      button.addEventListener("click", () => toClipboard(text, button));
      list.append(make("section", { className: "copy" }, make("div", { className: "top" }, make("h3",
        { textContent: title }), button), area));
    }
    for (const note of json.notes ?? []) list.append(make("p", { className: "note", textContent: note }));
  } catch (error) {
    list.append(make("p", { className: "problem", textContent: error.message }));
  }
}

export function openPaste(text = "") {
  at("paste-text").value = text;
  at("paste-problem").textContent = "";
  at("paste-dialog").showModal();
  at("paste-text").focus();
}

// Replaces the chain by that of a text. Throws the server's message.
export async function paste(text) {
  const { json } = await call("paste", { ...hooks.request(), text });
  hooks.use(json);
}

async function usePasted() {
  try {
    await paste(at("paste-text").value);
    at("paste-dialog").close();
  } catch (error) {
    at("paste-problem").textContent = error.message;
  }
}

const LOSSY = new Set(["jpg", "webp", "heic", "avif"]);

export function openSave() {
  const name = hooks.photo()?.name ?? "picture";
  at("save-name").value = `${name.replace(/\.[^.]*$/, "")}-studio`;
  const folder = hooks.folder();
  at("save-to").replaceChildren(make("option", { value: "", textContent: "a download" }),
    ...(folder ? [make("option", { value: "folder", textContent: `the folder ${folder}` })] : []));
  if (folder) at("save-to").value = "folder";
  at("save-folder-field").hidden = !folder;
  for (const id of ["save-problem", "save-done"]) at(id).textContent = "";
  updateSave();
  at("save-dialog").showModal();
}

function updateSave() {
  at("save-quality").parentElement.hidden = !LOSSY.has(at("save-format").value);
}

async function saveNow() {
  const format = at("save-format").value;
  const button = at("save-now");
  const options = LOSSY.has(format) ? { quality: at("save-quality").value || "90" } : {};
  for (const id of ["save-problem", "save-done"]) at(id).textContent = "";
  button.disabled = true;
  at("save-progress").hidden = false;
  try {
    const { json } = await call("save", {
      ...hooks.request(), format, options, name: at("save-name").value, toFolder: at("save-to").value === "folder",
    }, ({ written }) => {
      at("save-done").textContent = `Saving: ${(written / 1e6).toFixed(1)} MB are written`;
    });
    if (json.download) {
      const link = make("a", { href: json.download, download: json.name });
      link.click();
    }
    at("save-done").textContent = `Saved ${json.name}, ${json.width} × ${json.height} pixels`;
  } catch (error) {
    at("save-problem").textContent = error.message;
  } finally {
    button.disabled = false;
    at("save-progress").hidden = true;
  }
}

async function listPresets() {
  const list = at("preset-list");
  const { json } = await call("presets");
  list.replaceChildren(...json.presets.map(({ name, isOwn, about }) => {
    const use = make("button", { type: "button", className: "preset" }, make("strong", { textContent: name }),
      make("span", { textContent: about || (isOwn ? "Your own" : "") }));
    use.addEventListener("click", async () => {
      try {
        const answer = await call("preset", { ...hooks.request(), name, isOwn });
        hooks.use(answer.json);
        at("presets-dialog").close();
      } catch (error) {
        at("preset-problem").textContent = error.message;
      }
    });
    const item = make("li", {}, use);
    if (isOwn) {
      const remove = make("button", { type: "button", className: "icon", textContent: "×",
        "aria-label": `Delete ${name}` });
      remove.addEventListener("click", () => call("preset-delete", { name }).then(listPresets));
      item.append(remove);
    }
    return item;
  }));
  if (json.presets.length === 0) list.append(make("li", { className: "note",
    textContent: "None yet. Keep the present chain below." }));
}

export async function openPresets() {
  at("preset-problem").textContent = "";
  at("presets-dialog").showModal();
  await listPresets();
}

async function keepPreset(event) {
  event.preventDefault();
  try {
    await call("preset-keep", { ...hooks.request(), name: at("preset-name").value });
    at("preset-name").value = "";
    at("preset-problem").textContent = "";
    await listPresets();
  } catch (error) {
    at("preset-problem").textContent = error.message;
  }
}

export function begin(more) {
  hooks = more;
  at("paste-use").addEventListener("click", usePasted);
  at("save-now").addEventListener("click", saveNow);
  at("save-format").addEventListener("change", updateSave);
  at("preset-form").addEventListener("submit", keepPreset);
}
