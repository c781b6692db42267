// studio.js - puts the page together: the state and who shows it, the buttons and keys, files that are dropped.

import * as adder from "./adder.js";
import * as cards from "./cards.js";
import { filters, load, filterOf } from "./catalogue.js";
import { make } from "./controls.js";
import { clearHandles, placeHandles, showHandles } from "./handles.js";
import * as history from "./history.js";
import { call, drop, start } from "./live.js";
import { pictureChanged } from "./readings.js";
import * as share from "./share.js";
import * as stage from "./stage.js";

const at = (id) => document.getElementById(id);
let files = [];
let folder = "";
let lastNumber = 0;
let isBegun = false;

const pictures = () => files.filter((file) => file.kind === "picture");
const photo = () => files.find((file) => file.number === history.current()?.photo) ?? null;
const others = () => pictures().filter((file) => file !== photo());

function say(text) {
  if (at("status").textContent !== text) at("status").textContent = text;
}

// The state as the server reads it: without the cards that are off.
function requestOf(state) {
  const used = state.cards.filter((card) => !card.isOff && filterOf(card));
  const names = new Set(used.map((card) => card.name));
  // The image of a card that is off is that of the last one before it which is on.
  const bridged = (text, position) => {
    if (!text.startsWith("$") || text === "$input" || names.has(text.slice(1))) return text;
    const off = state.cards.findIndex((card) => card.name === text.slice(1));
    const before = state.cards.slice(0, Math.min(off, position)).findLast((card) => names.has(card.name));
    return before ? `$${before.name}` : "$input";
  };
  return {
    keepSize: state.keepSize,
    cards: used.map(({ name, filter, settings }) => {
      const position = state.cards.findIndex((card) => card.name === name);
      const sent = Object.entries(settings).filter(([, text]) => text !== "");
      return { name, filter, settings: Object.fromEntries(sent.map(([key, text]) => [key, bridged(text, position)])) };
    }),
  };
}

function wholeRequest() {
  const state = history.current();
  return { photo: String(state.photo ?? ""), ...requestOf(state) };
}

// ---- The state

function updateHandles() {
  handlesOf = handlesKey();
  const card = cards.chosenCard();
  if (!card || card.isOff) {
    clearHandles();
    return;
  }
  const filter = filterOf(card);
  const { name } = card;
  showHandles(filter, () => cards.cardNamed(name) ?? card, (key, text) => cards.setKey(name, key, text));
}

// What the handles are made for.
let handlesOf = null;

function handlesKey() {
  const card = cards.chosenCard();
  return card && `${card.name} ${card.isOff} ${photo()?.number}`;
}

function changed(state, mark) {
  const shownPhoto = photo();
  const isOther = stage.view.photo !== shownPhoto;
  stage.setPhoto(shownPhoto);
  // First, so that it is rendered meanwhile.
  if (shownPhoto) stage.show(requestOf(state), mark !== null);
  at("welcome").hidden = Boolean(shownPhoto);
  if (isOther) cards.rebuild();
  else cards.update(mark !== null);
  at("undo").disabled = !history.canUndo();
  at("redo").disabled = !history.canRedo();
  at("keep-size").checked = state.keepSize;
  at("photo").value = String(state.photo ?? "");
  // While a handle is dragged it must not be replaced.
  if (mark === null || handlesKey() !== handlesOf) updateHandles();
  else placeHandles();
}

function listFiles(answer) {
  files = answer.files.map((file) => files.find((each) => each.number === file.number) ?? file);
  if ("folder" in answer) folder = answer.folder;
  at("photo").replaceChildren(...pictures().map((file) => make("option", { value: String(file.number),
    textContent: file.name })));
  at("photo").disabled = pictures().length === 0;
  at("photo").value = String(history.current()?.photo ?? "");
}

function choosePhoto(number) {
  history.change({ ...history.current(), photo: number });
}

// Replaces the chain by one that the server has read.
function use(answer) {
  if (answer.files) listFiles({ files: answer.files });
  const first = lastNumber;
  const renamed = new Map(answer.cards.map((card, i) => [card.name, `c${first + i + 1}`]));
  lastNumber += answer.cards.length;
  const reference = (text) => (text.startsWith("$")
    && renamed.has(text.slice(1)) ? `$${renamed.get(text.slice(1))}` : text);
  const used = answer.cards.map((card) => ({
    name: renamed.get(card.name), filter: card.filter, isOff: false,
    settings: Object.fromEntries(Object.entries(card.settings).map(([key, text]) => [key, reference(text)])),
  }));
  const state = history.current();
  history.change({ photo: answer.photo ?? state.photo, cards: used, keepSize: answer.keepSize ?? state.keepSize });
  cards.choose(used.at(-1)?.name ?? null);
  say(used.length === 1 ? "1 card" : `${used.length} cards`);
}

// ---- Files

async function openFiles(list, isPhoto = true) {
  let last = null;
  for (const file of list) {
    say(`Opening ${file.name}…`);
    try {
      const answer = await drop(file);
      listFiles(answer);
      last = answer.number;
      say(`${file.name} is open`);
    } catch (error) {
      say(`${file.name}: ${error.message}`);
    }
  }
  const opened = files.find((file) => file.number === last);
  if (isPhoto && opened?.kind === "picture") choosePhoto(last);
  else cards.update();
  return last;
}

function askForFiles(kind, isPhoto) {
  const input = at("file");
  input.accept = kind === "cube" ? ".cube" : "image/*,.cube,.heic,.avif,.tif,.tiff,.webp";
  input.multiple = isPhoto;
  return new Promise((resolve) => {
    input.onchange = async () => {
      const list = [...input.files];
      input.value = "";
      resolve(await openFiles(list, isPhoto));
    };
    input.oncancel = () => resolve(null);
    input.click();
  });
}

addEventListener("dragover", (event) => {
  if (![...event.dataTransfer.types].includes("Files")) return;
  event.preventDefault();
  document.body.classList.add("dropping");
});
addEventListener("dragleave", (event) => {
  if (!event.relatedTarget) document.body.classList.remove("dropping");
});
addEventListener("drop", (event) => {
  document.body.classList.remove("dropping");
  if (event.dataTransfer.files.length === 0) return;
  event.preventDefault();
  openFiles(event.dataTransfer.files);
});

// ---- Buttons and keys

function toggle(id, apply) {
  const button = at(id);
  const next = button.getAttribute("aria-pressed") !== "true";
  button.setAttribute("aria-pressed", String(next));
  apply(next);
}

const ACTIONS = {
  undo: history.undo,
  redo: history.redo,
  add: adder.open,
  open: () => askForFiles("picture", true),
  "welcome-open": () => askForFiles("picture", true),
  fit: stage.fit,
  actual: () => stage.zoomTo(1),
  larger: () => stage.zoomStep(1),
  smaller: () => stage.zoomStep(-1),
  compare: () => toggle("compare", stage.setCompares),
  clipped: () => toggle("clipped", stage.setMarkClipped),
  copy: () => share.openCopy(),
  paste: () => share.openPaste(),
  presets: () => share.openPresets(),
  save: () => share.openSave(),
  help: () => at("help-dialog").showModal(),
};

// Key, action, what the help says.
const KEYS = [
  ["a", "add", "Add a filter"], ["/", "add", ""], ["o", "open", "Open pictures"],
  ["f", "fit", "Fit the picture"], ["1", "actual", "100 %"], ["+", "larger", "Zoom in"], ["=", "larger", ""], ["-",
    "smaller", "Zoom out"],
  ["b", "compare", "Compare before and after"], ["c", "clipped", "Mark clipped pixels"],
  ["y", "copy", "Copy as command, Lua, recipe or link"], ["v", "paste", "Paste"], ["p", "presets", "Presets"], ["s",
    "save", "Save"],
  ["?", "help", "This list"],
];
const MORE_KEYS = [
  ["Ctrl Z", "Undo"], ["Ctrl Shift Z", "Redo"], ["Space", "Hold to see the photo without filters"], ["Arrows",
    "Move the picture, a handle or the split line"],
  ["↑ ↓ on a card", "Next card"], ["Alt ↑ ↓ on a card", "Reorder"], ["D on a card", "Duplicate"],
  ["O on a card", "Switch on or off"], ["Delete on a card", "Delete"],
];

for (const [id, action] of Object.entries(ACTIONS)) at(id).addEventListener("click", () => action());
at("photo").addEventListener("change", () => choosePhoto(Number(at("photo").value)));
at("keep-size").addEventListener("change", () => history.change({ ...history.current(),
  keepSize: at("keep-size").checked }));
at("keys").replaceChildren(...[...KEYS.filter(([, , text]) => text).map(([key, , text]) => [key.toUpperCase(), text]),
  ...MORE_KEYS]
  .map(([key, text]) => make("div", {}, make("dt", { textContent: key }), make("dd", { textContent: text }))));

addEventListener("keydown", (event) => {
  if (!isBegun || document.querySelector("dialog[open]")) return;
  const isTyping = event.target.matches("input:not([type=range]):not([type=checkbox]), textarea, select");
  if ((event.ctrlKey || event.metaKey) && !event.altKey) {
    const key = event.key.toLowerCase();
    if (key !== "z" && key !== "y") return;
    event.preventDefault();
    if (key === "y" || event.shiftKey) history.redo();
    else history.undo();
    return;
  }
  if (isTyping || event.altKey) return;
  if (event.key === " " && !event.target.matches("button, [role=button], input")) {
    event.preventDefault();
    stage.setOnlyBefore(true);
    return;
  }
  const found = KEYS.find(([key]) => key === event.key.toLowerCase());
  if (!found) return;
  event.preventDefault();
  ACTIONS[found[1]]();
});
addEventListener("keyup", (event) => {
  if (event.key === " ") stage.setOnlyBefore(false);
});

// ---- The beginning

stage.listen({
  painted(json) {
    cards.showProblem(null, "");
    say(json.isFullSize && stage.renderScale() < 1 ? "Rendered at full size and scaled down" : "");
    if (!json.stripes) pictureChanged();
    at("stage").dataset.painted = Number(at("stage").dataset.painted ?? 0) + 1;
  },
  failed(error) {
    cards.showProblem(error.card ?? null, error.message);
    if (!error.card) say(error.message);
  },
  moved() {
    at("zoom").textContent = `${Math.round(stage.view.zoom * 100)} %`;
    placeHandles();
  },
});
cards.begin({
  photo: () => photo() ?? { width: 300, height: 300, number: 0 },
  others,
  files: () => files,
  open: (kind) => askForFiles(kind, false),
  chose: updateHandles,
  say,
  lastNumber: () => lastNumber,
  setLastNumber: (number) => { lastNumber = number; },
});
adder.begin({
  add: cards.addCard,
  state: history.current,
  request(filter, side) {
    const size = photo();
    const width = Math.max(1, Math.round(size.width * Math.min(1, side / Math.max(size.width, size.height))));
    const request = wholeRequest();
    return { ...request, keepSize: false, cards: [...request.cards,
      requestOf({ cards: [cards.newCard(filter)] }).cards[0]],
      view: { width, x: 0, y: 0, w: side, h: side } };
  },
});
share.begin({ request: wholeRequest, use, photo, folder: () => folder });

async function begin() {
  const { json } = await call("files");
  listFiles(json);
  if (isBegun) {
    stage.again();
    return;
  }
  if (filters.length === 0) await load();
  history.begin({ photo: pictures()[0]?.number ?? null, cards: [], keepSize: true }, changed);
  isBegun = true;
  changed(history.current(), null);
  if (location.hash.startsWith("#zeva1=")) {
    share.paste(location.hash).catch((error) => say(error.message));
  }
  document.documentElement.dataset.ready = "yes";
}

start({
  open: () => begin().catch((error) => say(error.message)),
  lost: () => say("The connection to the studio was lost; trying again"),
});
