// handles.js - what can be dragged on the picture: the points, rectangles, radii, angles and transforms of a card.
//
// Handles are made from the units of the keys. Each is a button that the mouse drags and the arrow keys move. Values
// change through `set`, so the controls of the card and the handles always agree.

import { isAngle, keyTitle, listText, numberText, numbersIn, textOf } from "./catalogue.js";
import { toPhoto, toStage, view } from "./stage.js";
import { stepsOf, textOfSteps } from "./transform.js";

const layer = document.getElementById("handles");
const lines = document.getElementById("lines");
const stage = document.getElementById("stage");
const SVG = "http://www.w3.org/2000/svg";
const DIAL = 70;  // CSS pixels from a center to the knob of an angle

let handles = [];  // {button, at: () => [x, y] in CSS pixels of the stage}
let shapes = [];   // {element, update}

// Adds a shape, with a dark line below the light one so that it is seen on every picture.
function shape(name, update) {
  for (const line of ["dark", "light"]) {
    const element = document.createElementNS(SVG, name);
    element.dataset.line = line;
    lines.append(element);
    shapes.push({ element, update });
  }
}

// Changes nothing that is the same already: an attribute that is set makes the browser draw the whole layer again.
function set(element, attributes) {
  for (const [name, value] of Object.entries(attributes)) {
    if (element.getAttribute(name) !== String(value)) element.setAttribute(name, value);
  }
}

// Adds a handle. `at` returns its place on the stage; `move` gets a place on the stage; `text` is what is read aloud.
function handle(kind, label, { at, move, text }) {
  const button = document.createElement("button");
  button.type = "button";
  button.className = `handle ${kind}`;
  const name = () => set(button, { "aria-label": `${label}: ${text()}` });
  let offset = null;
  button.addEventListener("pointerdown", (event) => {
    button.setPointerCapture(event.pointerId);
    const [x, y] = at();
    offset = [event.clientX - x, event.clientY - y];
    event.stopPropagation();
  });
  button.addEventListener("pointermove", (event) => {
    if (button.hasPointerCapture(event.pointerId)) move(event.clientX - offset[0], event.clientY - offset[1]);
  });
  button.addEventListener("keydown", (event) => {
    const length = event.shiftKey ? 10 : 1;
    const moves = { ArrowLeft: [-length, 0], ArrowRight: [length, 0], ArrowUp: [0, -length], ArrowDown: [0, length] };
    if (!moves[event.key] || event.altKey) return;
    event.preventDefault();
    event.stopPropagation();
    const [x, y] = at();
    move(x + moves[event.key][0], y + moves[event.key][1]);
  });
  layer.append(button);
  handles.push({ button, at, name });
}

const point = (text) => numbersIn(text).slice(0, 2);

function addPoint(value, change, title) {
  handle("point", title, {
    at: () => toStage(...point(value())),
    move: (left, top) => change(listText([...toPhoto(left, top).map(Math.round), ...numbersIn(value()).slice(2)])),
    text: () => point(value()).join(", "),
  });
}

function addRectangle(value, change, title) {
  const corner = (i, j) => {
    const [x, y, w, h] = numbersIn(value());
    return [x + i * w, y + j * h];
  };
  shape("path", (element) => {
    const corners = [corner(0, 0), corner(1, 0), corner(1, 1), corner(0, 1)].map((each) => toStage(...each).join(" "));
    set(element, { d: `M${corners.join("L")}Z` });
  });
  for (const [i, j, name] of [[0, 0, "lower left"], [1, 0, "lower right"], [1, 1, "upper right"], [0, 1,
    "upper left"]]) {
    handle("corner", `${title}, ${name}`, {
      at: () => toStage(...corner(i, j)),
      move: (left, top) => {
        const [px, py] = toPhoto(left, top).map(Math.round);
        const [ox, oy] = corner(1 - i, 1 - j);
        change(listText([Math.min(px, ox), Math.min(py, oy), Math.max(1, Math.abs(px - ox)), Math.max(1,
          Math.abs(py - oy))]));
      },
      text: () => corner(i, j).map((number) => numberText(number, 2)).join(", "),
    });
  }
  handle("move", `${title}, all of it`, {
    at: () => toStage(...corner(0.5, 0.5)),
    move: (left, top) => {
      const [, , w, h] = numbersIn(value());
      const [x, y] = toPhoto(left, top);
      change(listText([Math.round(x - w / 2), Math.round(y - h / 2), w, h]));
    },
    text: () => numbersIn(value()).join(", "),
  });
}

function addRing(value, change, title, center) {
  const radius = () => Number(value());
  shape("circle", (element) => {
    const [cx, cy] = toStage(...center());
    const [edge] = toStage(center()[0] + radius(), center()[1]);
    set(element, { cx, cy, r: Math.max(0, edge - cx) });
  });
  handle("ring", title, {
    at: () => toStage(center()[0] + radius(), center()[1]),
    move: (left, top) => {
      const [x, y] = toPhoto(left, top);
      const [cx, cy] = center();
      change(numberText(Math.round(Math.hypot(x - cx, y - cy))));
    },
    text: () => `${numberText(radius(), 1)} pixels`,
  });
}

function addAngle(value, change, title, center) {
  const at = () => {
    const [x, y] = toStage(...center());
    const angle = Number(value());
    return [x + DIAL * Math.cos(angle), y - DIAL * Math.sin(angle)];
  };
  shape("path", (element) => set(element, { d: `M${toStage(...center()).join(" ")}L${at().join(" ")}`,
    class: "dial" }));
  handle("angle", title, {
    at,
    move: (left, top) => {
      const [x, y] = toStage(...center());
      change(numberText(Math.atan2(y - top, left - x), 4));
    },
    text: () => `${numberText(Number(value()) * 180 / Math.PI, 1)} degrees`,
  });
}

function addTransform(value, change, title) {
  const { width, height } = view.photo;
  const steps = () => stepsOf(value());
  if (!steps()) return;
  // The photo's frame after the transform: scaled, then rotated, then moved.
  const placed = (x, y) => {
    const { sx, sy, degrees, x: tx, y: ty } = steps();
    const angle = degrees * Math.PI / 180;
    const [u, v] = [x * sx, y * sy];
    return [u * Math.cos(angle) - v * Math.sin(angle) + tx, u * Math.sin(angle) + v * Math.cos(angle) + ty];
  };
  shape("path", (element) => {
    const corners = [[0, 0], [width, 0], [width, height], [0, height]].map((each) =>
      toStage(...placed(...each)).join(" "));
    set(element, { d: `M${corners.join("L")}Z` });
  });
  const text = () => textOfSteps(steps());
  handle("move", `${title}, move`, {
    at: () => toStage(...placed(width / 2, height / 2)),
    move: (left, top) => {
      const [x, y] = toPhoto(left, top);
      const [mx, my] = placed(width / 2, height / 2);
      change(textOfSteps({ ...steps(), x: Math.round(steps().x + x - mx), y: Math.round(steps().y + y - my) }));
    },
    text,
  });
  handle("corner", `${title}, scale`, {
    at: () => toStage(...placed(width, height)),
    move: (left, top) => {
      const { x: tx, y: ty } = steps();
      const [x, y] = toPhoto(left, top);
      const size = Math.hypot(x - tx, y - ty) / Math.hypot(width, height);
      const by = Math.max(0.01, Number(size.toFixed(3)));
      const { sx, sy } = steps();
      const unequal = sx !== 0 ? Math.abs(sy / sx) : 1;
      change(textOfSteps({ ...steps(), sx: by, sy: Number((by * unequal).toFixed(3)) }));
    },
    text,
  });
  handle("angle", `${title}, rotate`, {
    at: () => toStage(...placed(width, 0)),
    move: (left, top) => {
      const { x: tx, y: ty } = steps();
      const [x, y] = toPhoto(left, top);
      change(textOfSteps({ ...steps(), degrees: Number((Math.atan2(y - ty, x - tx) * 180 / Math.PI).toFixed(1)) }));
    },
    text,
  });
}

// Shows the handles of a card. `current` returns the card as it is now; `change(key, text)` sets one of its keys.
export function showHandles(filter, current, change) {
  clearHandles();
  if (!filter || !view.photo) return;
  const value = (key) => () => textOf(current(), key);
  const setter = (key) => (text) => change(key, text);
  const positions = filter.keys.filter((key) => key.unit === "position");
  const middle = positions.find((key) => /center/i.test(key.name)) ?? positions[0];
  const center = () => (middle ? point(textOf(current(), middle)) : [view.photo.width / 2, view.photo.height / 2]);
  for (const key of filter.keys) {
    const parts = [value(key), setter(key), keyTitle(key)];
    if (key.unit === "position") addPoint(...parts);
    if (key.unit === "rectangle") addRectangle(...parts);
    if (key.unit === "transform") addTransform(...parts);
    if (key.unit === "pixels" && middle && /radius/i.test(key.name)) addRing(...parts, center);
    if (isAngle(key)) addAngle(...parts, center);
  }
  placeHandles();
}

export function clearHandles() {
  handles = [];
  shapes = [];
  layer.replaceChildren();
  lines.replaceChildren();
}

export function placeHandles() {
  set(lines, { width: stage.clientWidth, height: stage.clientHeight });
  for (const { element, update } of shapes) update(element);
  for (const { button, at, name } of handles) {
    const [left, top] = at();
    button.style.left = `${left}px`;
    button.style.top = `${top}px`;
    name();
  }
}
