// cards.js - the chain as cards: their controls, their order, and what is wrong with them.
//
// A card is {name, filter, isOff, settings}; settings are texts by key. Cards never change: each edit makes a new state
// (history.js). The elements of a card are kept while its filter stays, so that a drag is never interrupted.

import { filterOf, firstText, keyTitle, textOf } from "./catalogue.js";
import { control, make } from "./controls.js";
import { change, current } from "./history.js";

const list = document.getElementById("cards");
const built = new Map();  // by card name: {element, controls, filter}
let hooks = {};
let chosen = null;  // the name of the card that has the handles
let dragged = null;

export function begin(more) {
  hooks = more;
}

export function cardNamed(name) {
  return current().cards.find((card) => card.name === name);
}

export function chosenCard() {
  return cardNamed(chosen) ?? null;
}

export function choose(name) {
  if (chosen === name) return;
  chosen = name;
  for (const [each, { element }] of built) element.classList.toggle("chosen", each === chosen);
  hooks.chose();
}

function setCards(cards, mark = null) {
  change({ ...current(), cards }, mark);
}

export function setKey(name, key, text) {
  const cards = current().cards.map((card) =>
    card.name === name ? { ...card, settings: { ...card.settings, [key.name]: text } } : card);
  setCards(cards, `${name} ${key.name}`);
}

function resetKey(name, key) {
  const cards = current().cards.map((card) => {
    if (card.name !== name) return card;
    const settings = { ...card.settings };
    delete settings[key.name];
    const first = firstText(key, hooks.photo(), hooks.others());
    if (first) settings[key.name] = first;
    return { ...card, settings };
  });
  setCards(cards);
}

// A name that no card has, and had not: earlier states may come back.
function newName() {
  const next = Math.max(0, ...current().cards.map((card) => Number(card.name.slice(1)) || 0), hooks.lastNumber()) + 1;
  hooks.setLastNumber(next);
  return `c${next}`;
}

// A card of a filter at its first values.
export function newCard(filter, name = "new") {
  const settings = {};
  for (const key of filter.keys) {
    const first = firstText(key, hooks.photo(), hooks.others());
    if (first) settings[key.name] = first;
  }
  return { name, filter: filter.filter, isOff: false, settings };
}

export function addCard(filter) {
  const card = newCard(filter, newName());
  setCards([...current().cards, card]);
  choose(card.name);
  const { element, head } = built.get(card.name);
  (element.querySelector(".body input, .body select") ?? head).focus();
  element.scrollIntoView({ block: "nearest" });
}

export function removeCard(name) {
  const { cards } = current();
  const at = cards.findIndex((card) => card.name === name);
  setCards(cards.filter((card) => card.name !== name));
  const next = current().cards[Math.min(at, cards.length - 2)];
  choose(next?.name ?? null);
  (next ? built.get(next.name).head : document.getElementById("add")).focus();
}

export function moveCard(name, by) {
  const cards = [...current().cards];
  const from = cards.findIndex((card) => card.name === name);
  const to = from + by;
  if (to < 0 || to >= cards.length) return;
  cards.splice(to, 0, ...cards.splice(from, 1));
  setCards(cards);
  built.get(name).head.focus();
  hooks.say(`Card ${to + 1} of ${cards.length}`);
}

export function duplicateCard(name) {
  const cards = [...current().cards];
  const at = cards.findIndex((card) => card.name === name);
  const copy = { ...cards[at], name: newName() };
  cards.splice(at + 1, 0, copy);
  setCards(cards);
  choose(copy.name);
  built.get(copy.name).head.focus();
}

export function switchCard(name) {
  setCards(current().cards.map((card) => (card.name === name ? { ...card, isOff: !card.isOff } : card)));
}

// The pictures that a key can take: those before its card.
function stepsBefore(name, key) {
  const options = [];
  options.push(key.name === "inputImage" ? ["", "The card before"] : ["-", "The card before"], ["$input",
    "The original photo"]);
  for (const card of current().cards) {
    if (card.name === name) break;
    options.push([`$${card.name}`, `After ${filterOf(card)?.displayName ?? card.filter}`]);
  }
  return options;
}

// Moves a transition's time from 0 to 1 and back to where it was.
function play(name, key, button) {
  const start = performance.now();
  const before = textOf(cardNamed(name), key);
  const DURATION = 2500;
  button.textContent = "■";
  let isPlaying = true;
  const stop = () => {
    isPlaying = false;
  };
  button.addEventListener("click", stop, { once: true });
  const frame = (now) => {
    const card = cardNamed(name);
    const part = (now - start) / DURATION;
    if (!card || !isPlaying || part >= 1) {
      button.textContent = "▶";
      button.removeEventListener("click", stop);
      if (card) setKey(name, key, before);
      return;
    }
    setKey(name, key, part.toFixed(3));
    requestAnimationFrame(frame);
  };
  requestAnimationFrame(frame);
}

// Drawn, because not every system has such characters.
const ICONS = {
  off: "M8 2v6M4.6 4.4a5 5 0 1 0 6.8 0",
  copy: "M6 6h7v7H6zM3 10V3h7",
  remove: "M4 4l8 8M12 4l-8 8",
};

function icon(name) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  const path = document.createElementNS("http://www.w3.org/2000/svg", "path");
  svg.setAttribute("viewBox", "0 0 16 16");
  svg.setAttribute("aria-hidden", "true");
  path.setAttribute("d", ICONS[name]);
  svg.append(path);
  return svg;
}

function button(label, name, title, action) {
  const made = make("button", { type: "button", className: "icon", title, "aria-label": label }, icon(name));
  made.addEventListener("click", action);
  return made;
}

// Whether a key is worth a control: inputImage is, if there are other images to tell it from.
function isShown(filter, key) {
  return key.name !== "inputImage" || filter.keys.filter((each) => each.type === "CIImageQOR").length > 1;
}

function build(card) {
  const { name } = card;
  const filter = filterOf(card);
  const title = filter?.displayName ?? card.filter;
  const head = make("div", { className: "title", tabIndex: 0, role: "button", draggable: true },
    make("span", { className: "number" }), make("h2", { textContent: title }));
  head.addEventListener("click", () => choose(name));
  const tools = make("div", { className: "tools" },
    button(`Switch ${title} off`, "off", "Switch on or off (O)", () => switchCard(name)),
    button(`Duplicate ${title}`, "copy", "Duplicate (D)", () => duplicateCard(name)),
    button(`Delete ${title}`, "remove", "Delete (Delete)", () => removeCard(name)));
  const problem = make("p", { className: "problem", role: "alert", hidden: true });
  const body = make("div", { className: "body" });
  const element = make("li", { className: "card" }, make("div", { className: "top" }, head, tools), problem, body);
  element.dataset.name = name;
  const controls = new Map();
  const ordered = [...filter.keys].sort((a, b) => (a.name === "inputImage") - (b.name === "inputImage"));
  for (const key of ordered.filter((each) => isShown(filter, each))) {
    const made = control(key, {
      filter,
      photo: hooks.photo(),
      change: (text) => setKey(name, key, text),
      reset: () => resetKey(name, key),
      files: hooks.files,
      steps: (each) => stepsBefore(name, each),
      open: hooks.open,
      play: (each, playButton) => play(name, each, playButton),
    });
    controls.set(key, made);
    body.append(made.element);
  }
  element.addEventListener("focusin", () => choose(name));
  element.addEventListener("pointerdown", () => choose(name));
  head.addEventListener("keydown", (event) => {
    const actions = {
      Delete: () => removeCard(name),
      Backspace: () => removeCard(name),
      d: () => duplicateCard(name),
      o: () => switchCard(name),
      ArrowUp: () => (event.altKey ? moveCard(name, -1) : focusCard(name, -1)),
      ArrowDown: () => (event.altKey ? moveCard(name, 1) : focusCard(name, 1)),
    };
    if (!actions[event.key] || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    event.stopPropagation();
    actions[event.key]();
  });
  head.addEventListener("dragstart", (event) => {
    dragged = name;
    event.dataTransfer.effectAllowed = "move";
    event.dataTransfer.setData("text/plain", title);
    element.classList.add("dragged");
  });
  head.addEventListener("dragend", () => {
    dragged = null;
    element.classList.remove("dragged");
  });
  element.addEventListener("dragover", (event) => {
    if (!dragged || dragged === name) return;
    event.preventDefault();
    const box = element.getBoundingClientRect();
    element.classList.toggle("below", event.clientY > box.top + box.height / 2);
    element.classList.add("target");
  });
  element.addEventListener("dragleave", () => element.classList.remove("target", "below"));
  element.addEventListener("drop", (event) => {
    if (!dragged) return;
    event.preventDefault();
    event.stopPropagation();
    const isBelow = element.classList.contains("below");
    element.classList.remove("target", "below");
    const cards = current().cards.filter((each) => each.name !== dragged);
    const moved = cardNamed(dragged);
    cards.splice(cards.findIndex((each) => each.name === name) + (isBelow ? 1 : 0), 0, moved);
    setCards(cards);
  });
  return { element, head, controls, problem, filter: card.filter };
}

function focusCard(name, by) {
  const { cards } = current();
  const next = cards[cards.findIndex((card) => card.name === name) + by];
  if (next) built.get(next.name).head.focus();
}

// Shows the cards of the present state. In a drag, only cards change that are dragged.
export function update(isDrag = false) {
  const { cards } = current();
  for (const [name, { element, filter }] of built) {
    if (cards.some((card) => card.name === name && card.filter === filter)) continue;
    element.remove();
    built.delete(name);
  }
  cards.forEach((card, i) => {
    if (!built.has(card.name)) built.set(card.name, build(card));
    const entry = built.get(card.name);
    if (isDrag && entry.shown === card) return;
    entry.shown = card;
    const { element, controls } = entry;
    if (list.children[i] !== element) list.insertBefore(element, list.children[i] ?? null);
    if (!isDrag) updateHead(entry, card, i);
    for (const [key, made] of controls) {
      const first = firstText(key, hooks.photo(), hooks.others());
      const text = textOf(card, key);
      if (isDrag && made.text === text) continue;
      made.text = text;
      made.update(text, key.name in card.settings && card.settings[key.name] !== first);
    }
  });
}

function updateHead({ element, head }, card, i) {
  element.classList.toggle("off", card.isOff);
  element.classList.toggle("chosen", card.name === chosen);
  head.querySelector(".number").textContent = i + 1;
  const title = filterOf(card).displayName;
  head.setAttribute("aria-label", `${i + 1}. ${title}${card.isOff ? ", off" : ""}`);
  head.setAttribute("aria-roledescription", "card");
  const [toggle] = element.querySelectorAll(".tools button");
  toggle.setAttribute("aria-label", `Switch ${title} ${card.isOff ? "on" : "off"}`);
}

// Photos have other sizes and files other names: controls are made again.
export function rebuild() {
  built.clear();
  list.replaceChildren();
  update();
}

export function showProblem(name, text) {
  for (const [each, { problem, element }] of built) {
    const isThis = each === name;
    problem.hidden = !isThis;
    problem.textContent = isThis ? text : "";
    element.classList.toggle("failed", isThis);
  }
}

export { keyTitle };
