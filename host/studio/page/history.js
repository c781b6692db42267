// history.js - the state of the page and its past: an immutable value, undo and redo.
//
// Changes with the same mark that follow each other quickly, such as those of one drag, are one step.

const LONGEST = 10000;
const PAUSE = 800;  // milliseconds

let past = [];
let future = [];
let state = null;
let lastMark = null;
let lastTime = 0;
let notify = () => {};

export function begin(first, onChange) {
  past = [];
  future = [];
  state = first;
  lastMark = null;
  notify = onChange;
}

export function current() {
  return state;
}

export function change(next, mark = null) {
  const now = performance.now();
  const isSame = mark !== null && mark === lastMark && now - lastTime < PAUSE;
  if (!isSame) past.push(state);
  if (past.length > LONGEST) past.shift();
  future = [];
  state = next;
  lastMark = mark;
  lastTime = now;
  notify(state, mark);
}

export function canUndo() {
  return past.length > 0;
}

export function canRedo() {
  return future.length > 0;
}

function step(from, to) {
  if (from.length === 0) return;
  to.push(state);
  state = from.pop();
  lastMark = null;
  notify(state, null);
}

export function undo() {
  step(past, future);
}

export function redo() {
  step(future, past);
}
