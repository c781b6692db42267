// readings.js - what can be read off the pixels: the histogram, the color under the pointer, the share of clipped
// pixels. A preview is not read: its pixels are not exact.

import { renderScale, shown, toPhoto, view } from "./stage.js";

const stage = document.getElementById("stage");
const canvas = document.getElementById("histogram");
const at = (id) => document.getElementById(id);
const LEVELS = 256;
const PIXELS_READ = 200000;
let timer = 0;

function draw() {
  const image = shown.after;
  if (image && !image.pixels) return;
  const context = canvas.getContext("2d");
  context.clearRect(0, 0, canvas.width, canvas.height);
  if (!image || image.width === 0) return;
  const counts = [new Uint32Array(LEVELS), new Uint32Array(LEVELS), new Uint32Array(LEVELS)];
  const { pixels } = image;
  const step = 4 * Math.max(1, Math.floor(pixels.length / 4 / PIXELS_READ));
  let bright = 0;
  let dark = 0;
  let all = 0;
  for (let i = 0; i < pixels.length; i += step) {
    if (pixels[i + 3] === 0) continue;
    const [r, g, b] = [pixels[i], pixels[i + 1], pixels[i + 2]];
    counts[0][r]++;
    counts[1][g]++;
    counts[2][b]++;
    all++;
    if (r === 255 || g === 255 || b === 255) bright++;
    if (r === 0 && g === 0 && b === 0) dark++;
  }
  // The ends may hold most of a picture; the scale ignores them.
  let most = 1;
  for (const count of counts) for (let level = 1; level < LEVELS - 1; level++) most = Math.max(most, count[level]);
  const isDark = matchMedia("(prefers-color-scheme: dark)").matches;
  context.globalCompositeOperation = isDark ? "lighter" : "multiply";
  const inks = isDark ? ["#a8433f", "#3f8f4f", "#3f66b0"] : ["#f3a29c", "#9fd3a4", "#9db9ee"];
  counts.forEach((count, channel) => {
    context.fillStyle = inks[channel];
    for (let level = 0; level < LEVELS; level++) {
      const height = Math.min(1, Math.sqrt(count[level] / most)) * canvas.height;
      context.fillRect(level, canvas.height - height, 1, height);
    }
  });
  const percent = (count) => (all === 0 ? 0 : (100 * count) / all).toFixed(1);
  at("clip-share").textContent = `${percent(dark)} % dark, ${percent(bright)} % bright`;
}

// Draws the histogram soon, but not for every picture of a drag.
export function pictureChanged() {
  if (timer) return;
  timer = setTimeout(() => {
    timer = 0;
    draw();
  }, 120);
}

function colorAt(image, x, y) {
  if (!image?.pixels || image.width === 0) return "–";
  const column = Math.floor(x * image.scale) - image.part[0];
  const row = Math.floor((view.photo.height - y) * image.scale) - image.part[1];
  if (column < 0 || row < 0 || column >= image.width || row >= image.height) return "–";
  const i = 4 * (row * image.width + column);
  const [r, g, b, a] = image.pixels.subarray(i, i + 4);
  const digits = [r, g, b].map((component) => component.toString(16).padStart(2, "0")).join("");
  return `#${digits}${a === 255 ? "" : ` ${Math.round(a / 2.55)} %`}`;
}

function show(id, text) {
  const element = at(id);
  element.textContent = text;
  element.style.setProperty("--swatch", text.startsWith("#") ? text.slice(0, 7) : "transparent");
}

stage.addEventListener("pointermove", (event) => {
  if (!view.photo) return;
  const box = stage.getBoundingClientRect();
  const [x, y] = toPhoto(event.clientX - box.left, event.clientY - box.top);
  show("position", `${Math.floor(x)}, ${Math.floor(y)}`);
  show("color-before", colorAt(shown.before, x, y));
  show("color-after", colorAt(shown.after, x, y));
});
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);

export { renderScale };
