// stage.js - the picture: what is rendered of it, where it lies on the screen, zoom, pan and the split line.
//
// Lengths are in device pixels unless a name says otherwise. `zoom` is device pixels per pixel of the photo. Below
// 100 % the server renders at that scale; above, it renders single pixels and the page enlarges them.
//
// At most two requests are pending. The server renders the newest and drops those that it overtakes. While the state
// changes, pictures are previews, which are sent and drawn in a fraction of the time (host/studio/preview.h); the exact
// pixels follow when it rests.

import { call, forget, lastCall } from "./live.js";
import { decodedPreview, drawPreview } from "./preview.js";

const stage = document.getElementById("stage");
const split = document.getElementById("split");
const canvases = { before: document.getElementById("before"), after: document.getElementById("after") };
const ZOOMS = [0.05, 0.1, 0.25, 0.5, 0.75, 1, 2, 4, 8, 16];
const PENDING = 2;
const REST = 100;  // milliseconds without a change of a drag

export const view = { photo: null, zoom: 1, x: 0, y: 0, isFitted: true, cut: 0.5, compares: true };
// The pictures on the screen: {pixels, width, height, part, scale}. Those of a preview have no pixels.
export const shown = { before: null, after: null };
const hooks = { painted: () => {}, moved: () => {}, failed: () => {} };
let request = null;  // the state to render: {cards, keepSize}
let pending = [];    // ids of requests
let isStale = false;
let restTimer = 0;
let painting = Promise.resolve();  // the last answer that is being painted
let markClipped = false;
let showsOnlyBefore = false;

const ratio = () => window.devicePixelRatio || 1;
const stageSize = () => [stage.clientWidth * ratio(), stage.clientHeight * ratio()];

// The scale at which the server renders, and how much the page enlarges that.
export function renderScale() {
  return Math.min(1, view.zoom);
}

function enlargement() {
  return view.zoom / renderScale();
}

export function listen(more) {
  Object.assign(hooks, more);
}

// From a point of the photo, y upward, to CSS pixels of the stage, and back.
export function toStage(x, y) {
  return [(view.x + x * view.zoom) / ratio(), (view.y + (view.photo.height - y) * view.zoom) / ratio()];
}

export function toPhoto(left, top) {
  return [(left * ratio() - view.x) / view.zoom, view.photo.height - (top * ratio() - view.y) / view.zoom];
}

// Rounds the zoom so that the photo is whole pixels wide.
function snapped(zoom) {
  if (zoom >= 1) return zoom;
  return Math.max(1, Math.round(view.photo.width * zoom)) / view.photo.width;
}

export function fit() {
  if (!view.photo) return;
  const [width, height] = stageSize();
  const margin = 24 * ratio();
  const most = Math.min((width - 2 * margin) / view.photo.width, (height - 2 * margin) / view.photo.height);
  view.zoom = snapped(Math.max(0.01, Math.min(1, most)));
  view.x = Math.round((width - view.photo.width * view.zoom) / 2);
  view.y = Math.round((height - view.photo.height * view.zoom) / 2);
  view.isFitted = true;
  changed();
}

// Zooms and keeps a point of the stage, in CSS pixels, where it is.
export function zoomTo(zoom, left = stage.clientWidth / 2, top = stage.clientHeight / 2) {
  if (!view.photo) return;
  const [x, y] = toPhoto(left, top);
  view.zoom = snapped(Math.min(32, Math.max(0.01, zoom)));
  view.x = Math.round(left * ratio() - x * view.zoom);
  view.y = Math.round(top * ratio() - (view.photo.height - y) * view.zoom);
  view.isFitted = false;
  changed();
}

export function zoomStep(direction, left, top) {
  const next = direction > 0 ? ZOOMS.find((zoom) => zoom > view.zoom * 1.01) : ZOOMS.findLast((zoom) =>
    zoom < view.zoom * 0.99);
  if (next) zoomTo(next, left, top);
}

export function pan(dx, dy) {
  view.x += Math.round(dx * ratio());
  view.y += Math.round(dy * ratio());
  view.isFitted = false;
  changed();
}

function changed() {
  place();
  hooks.moved();
  request = request && { ...request };
  sendChange(true);
  sendBefore();
}

// The visible part in pixels of the rendering.
function visible() {
  const [width, height] = stageSize();
  const by = enlargement();
  return {
    width: Math.round(view.photo.width * renderScale()),
    x: Math.floor(-view.x / by), y: Math.floor(-view.y / by), w: Math.ceil(width / by) + 1, h: Math.ceil(height / by)
      + 1,
  };
}

// Puts the canvases where their pixels belong.
function place() {
  for (const [name, canvas] of Object.entries(canvases)) {
    const image = shown[name];
    canvas.hidden = !image || !view.photo;
    if (canvas.hidden) continue;
    const by = view.zoom / image.scale / ratio();
    const [x, y, w, h] = image.part;
    canvas.style.left = `${view.x / ratio() + x * by}px`;
    canvas.style.top = `${view.y / ratio() + y * by}px`;
    canvas.style.width = `${w * by}px`;
    canvas.style.height = `${h * by}px`;
    canvas.style.imageRendering = view.zoom > 1.5 ? "pixelated" : "auto";
  }
  placeSplit();
}

function placeSplit() {
  const isShown = view.compares && Boolean(shown.before) && Boolean(view.photo) && !showsOnlyBefore;
  stage.classList.toggle("comparing", isShown);
  const cut = stage.clientWidth * view.cut;
  split.style.left = `${cut}px`;
  const percent = Math.round(view.cut * 100);
  split.setAttribute("aria-valuenow", percent);
  split.setAttribute("aria-valuetext", `${percent} percent before, ${100 - percent} percent after`);
  const canvas = canvases.before;
  canvas.style.visibility = isShown || showsOnlyBefore ? "visible" : "hidden";
  const left = parseFloat(canvas.style.left) || 0;
  const width = parseFloat(canvas.style.width) || 0;
  canvas.style.clipPath = showsOnlyBefore ? "none" : `inset(0 ${Math.max(0, left + width - cut)}px 0 0)`;
  // The result may be translucent, so it is not drawn over the photo.
  const after = canvases.after;
  const afterLeft = parseFloat(after.style.left) || 0;
  after.style.visibility = showsOnlyBefore ? "hidden" : "visible";
  after.style.clipPath = isShown ? `inset(0 0 0 ${Math.max(0, cut - afterLeft)}px)` : "none";
}

export function setCut(cut) {
  view.cut = Math.min(1, Math.max(0, cut));
  placeSplit();
}

export function setCompares(compares) {
  view.compares = compares;
  placeSplit();
}

export function setOnlyBefore(isOnly) {
  showsOnlyBefore = isOnly;
  placeSplit();
}

export function setMarkClipped(marks) {
  markClipped = marks;
  draw("after");
}

// A copy of the pixels in which those without detail are red (too bright) or blue (too dark).
function withMarks(pixels) {
  const marked = new Uint8ClampedArray(pixels);
  for (let i = 0; i < marked.length; i += 4) {
    const [r, g, b] = [marked[i], marked[i + 1], marked[i + 2]];
    if (marked[i + 3] === 0) continue;
    if (r === 255 || g === 255 || b === 255) marked.set([255, 40, 60, 255], i);
    else if (r === 0 && g === 0 && b === 0) marked.set([40, 90, 255, 255], i);
  }
  return marked;
}

// Returns the context of a canvas that has a size.
function contextOf(name, width, height) {
  const canvas = canvases[name];
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  return canvas.getContext("2d", { willReadFrequently: true });
}

function draw(name) {
  const image = shown[name];
  if (!image?.pixels) return;
  const pixels = markClipped && name === "after" ? withMarks(image.pixels) : image.pixels;
  contextOf(name, image.width, image.height).putImageData(new ImageData(pixels, image.width, image.height), 0, 0);
}

function keep(name, { json, bytes }) {
  const [x, y, width, height] = json.part;
  const pixels = json.stripes ? null : bytes ?? new Uint8ClampedArray(4);
  shown[name] = { pixels, width, height, part: [x, y, width, height], scale: json.scale };
  if (width > 0) draw(name);
  place();
}

// Paints an answer, after those before it.
async function paint({ json, bytes }, photo) {
  const preview = json.stripes && await decodedPreview(json, bytes);
  if (view.photo !== photo) return;
  if (preview) drawPreview(contextOf("after", json.part[2], json.part[3]), preview);
  keep("after", { json, bytes });
  hooks.painted(json);
}

// Sends the state unless too much is pending. A preview is asked for while it changes.
function send() {
  if (!request || !view.photo) return;
  if (pending.length >= PENDING) {
    isStale = true;
    return;
  }
  isStale = false;
  const { photo } = view;
  const sent = request;
  const isQuick = restTimer !== 0 && !markClipped;
  const promise = call("render", { photo: String(photo.number), ...sent, view: visible(), isQuick });
  const id = lastCall();
  pending.push(id);
  promise.then((answer) => {
    finish(id);
    const painted = painting.then(() => paint(answer, photo));
    painting = painted.catch(() => {});
    return painted;
  }).catch((error) => {
    finish(id);
    hooks.failed(error);
  }).then(() => {
    if (!isQuick && sent === request && restTimer === 0) stage.dataset.shows = "result";
  });
}

// Shows a change: a preview at once, and then the exact pixels; in a drag, when it rests.
function sendChange(isDrag) {
  stage.dataset.shows = "change";
  clearTimeout(restTimer);
  restTimer = setTimeout(() => {
    restTimer = 0;
    send();
  }, isDrag ? REST : 0);
  send();
}

// An answer means that earlier requests were answered or overtaken.
function finish(id) {
  for (const each of pending) if (each < id) forget(each);
  pending = pending.filter((each) => each > id);
  if (isStale) send();
}

let beforeTimer = 0;

function sendBefore() {
  if (!view.photo) return;
  clearTimeout(beforeTimer);
  beforeTimer = setTimeout(() => {
    const { photo } = view;
    call("before", { photo: String(photo.number), cards: [], keepSize: true, view: visible() }).then(
      (answer) => {
        if (view.photo === photo) keep("before", answer);
      }, () => {});
  }, 20);
}

// Shows a state, which may be one of a drag.
export function show(next, isDrag) {
  request = next;
  sendChange(isDrag);
}

export function setPhoto(photo) {
  if (view.photo === photo) return;
  view.photo = photo;
  shown.before = shown.after = null;
  if (photo) fit();
  place();
}

// After the connection was lost, no request is pending any more.
export function again() {
  pending = [];
  send();
  sendBefore();
}

// ---- The mouse, the wheel and the keyboard

stage.addEventListener("wheel", (event) => {
  event.preventDefault();
  const box = stage.getBoundingClientRect();
  zoomTo(view.zoom * Math.exp(-event.deltaY * 0.0015), event.clientX - box.left, event.clientY - box.top);
}, { passive: false });

const fingers = new Map();
let span = 0;

function fingerSpan() {
  const [a, b] = [...fingers.values()];
  return Math.hypot(a.x - b.x, a.y - b.y);
}

stage.addEventListener("pointerdown", (event) => {
  if (event.target.closest("button, #split")) return;
  stage.setPointerCapture(event.pointerId);
  fingers.set(event.pointerId, { x: event.clientX, y: event.clientY });
  if (fingers.size === 2) span = fingerSpan();
});
stage.addEventListener("pointermove", (event) => {
  const finger = fingers.get(event.pointerId);
  if (!finger) return;
  const [dx, dy] = [event.clientX - finger.x, event.clientY - finger.y];
  fingers.set(event.pointerId, { x: event.clientX, y: event.clientY });
  if (fingers.size === 1) pan(dx, dy);
  if (fingers.size === 2) {
    const box = stage.getBoundingClientRect();
    const now = fingerSpan();
    zoomTo(view.zoom * now / span, event.clientX - box.left, event.clientY - box.top);
    span = now;
  }
});
for (const name of ["pointerup", "pointercancel"]) {
  stage.addEventListener(name, (event) => fingers.delete(event.pointerId));
}
stage.addEventListener("keydown", (event) => {
  if (event.target !== stage) return;
  const step = event.shiftKey ? 200 : 40;
  const moves = { ArrowLeft: [step, 0], ArrowRight: [-step, 0], ArrowUp: [0, step], ArrowDown: [0, -step] };
  if (!moves[event.key]) return;
  event.preventDefault();
  pan(...moves[event.key]);
});

split.addEventListener("pointerdown", (event) => {
  split.setPointerCapture(event.pointerId);
  event.preventDefault();
  split.focus();
});
split.addEventListener("pointermove", (event) => {
  if (!split.hasPointerCapture(event.pointerId)) return;
  const box = stage.getBoundingClientRect();
  setCut((event.clientX - box.left) / box.width);
});
split.addEventListener("keydown", (event) => {
  const steps = { ArrowLeft: -0.01, ArrowRight: 0.01, PageUp: 0.1, PageDown: -0.1, Home: -1, End: 1 };
  if (!(event.key in steps)) return;
  event.preventDefault();
  setCut(view.cut + steps[event.key]);
});

new ResizeObserver(() => {
  if (!view.photo) return;
  if (view.isFitted) fit();
  else changed();
}).observe(stage);
