// adder.js - finds a filter by typing, with the present picture through each filter.
//
// Thumbnails are made one after the other by the worker that does not serve the screen, for what the list shows first.

import { steps } from "./catalogue.js";
import { make } from "./controls.js";
import { call } from "./live.js";

const dialog = document.getElementById("add-dialog");
const search = document.getElementById("search");
const results = document.getElementById("results");
const found = document.getElementById("found");
const SIDE = 120;
const TINY = 4;  // pixels

const items = new Map();  // by filter: {element, canvas, filter}
let hooks = {};
let madeFor = null;  // the state that the thumbnails show
let done = new Set();
let isMaking = false;

function matching() {
  const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
  const matches = steps.filter((filter) => words.every((word) => filter.search.includes(word)));
  // Names that begin with the text come first, then those that contain it.
  const text = words.join(" ");
  const rank = ({ displayName, filter }) => {
    const name = displayName.toLowerCase();
    if (name.startsWith(text)) return 0;
    return name.includes(text) || filter.toLowerCase().includes(words.join("")) ? 1 : 2;
  };
  return matches.sort((a, b) => rank(a) - rank(b));
}

function itemOf(filter) {
  if (!items.has(filter)) {
    const canvas = make("canvas", { width: 1, height: 1, "aria-hidden": "true" });
    const button = make("button", { type: "button", title: filter.description }, canvas,
      make("strong", { textContent: filter.displayName }), make("span",
        { textContent: filter.category.replace(/([a-z])([A-Z])/g, "$1 $2") }));
    button.addEventListener("click", () => {
      dialog.close();
      hooks.add(filter);
    });
    items.set(filter, { element: make("li", {}, button), canvas, button });
  }
  return items.get(filter);
}

function update() {
  const matches = matching();
  results.replaceChildren(...matches.map((filter) => itemOf(filter).element));
  found.textContent = matches.length === 1 ? "1 filter" : `${matches.length} filters`;
}

function paint(canvas, { json, bytes }) {
  const [, , w, h] = json.part;
  if (!bytes) return;
  canvas.width = w;
  canvas.height = h;
  canvas.getContext("2d").putImageData(new ImageData(bytes, w, h), 0, 0);
  // The average of a picture is one pixel, and a histogram one row: such a result fills its thumbnail.
  canvas.classList.toggle("tiny", Math.min(w, h) < TINY);
}

// Makes the thumbnails that are missing until the dialog closes.
async function makeThumbnails() {
  if (isMaking) return;
  isMaking = true;
  try {
    for (;;) {
      const filter = dialog.open ? [...matching(), ...steps].find((each) => !done.has(each)) : null;
      if (!filter) return;
      done.add(filter);
      const { canvas, button } = itemOf(filter);
      const made = madeFor;
      try {
        const answer = await call("thumbnail", hooks.request(filter, SIDE));
        if (made === madeFor) paint(canvas, answer);
        button.classList.remove("failed");
      } catch {
        button.classList.add("failed");
      }
    }
  } finally {
    isMaking = false;
  }
}

export function begin(more) {
  hooks = more;
  search.addEventListener("input", update);
  search.addEventListener("keydown", (event) => {
    if (event.key === "Enter") {
      event.preventDefault();
      results.querySelector("button")?.click();
    }
    if (event.key === "ArrowDown") {
      event.preventDefault();
      results.querySelector("button")?.focus();
    }
  });
  results.addEventListener("keydown", (event) => {
    const buttons = [...results.querySelectorAll("button")];
    const at = buttons.indexOf(document.activeElement);
    const columns = Math.max(1, Math.round(results.clientWidth / (buttons[0]?.parentElement.offsetWidth + 8)));
    const steps = { ArrowRight: 1, ArrowLeft: -1, ArrowDown: columns, ArrowUp: -columns };
    if (!(event.key in steps)) return;
    event.preventDefault();
    (buttons[at + steps[event.key]] ?? search).focus();
  });
}

export function open() {
  if (madeFor !== hooks.state()) {
    madeFor = hooks.state();
    done = new Set();
  }
  search.value = "";
  update();
  dialog.showModal();
  search.focus();
  results.scrollTop = 0;
  makeThumbnails();
}
