// transform.js - a transform as people think of it: scaled, then rotated, then moved.
//
// The text is that of the command line, "scale:2,1 rotate:30 translate:10,0" or six numbers.

import { numberText, numbersIn } from "./catalogue.js";

export const IDENTITY = { sx: 1, sy: 1, degrees: 0, x: 0, y: 0 };

// Returns the steps of a text; null for one that is not made of these steps, such as a shear.
export function stepsOf(text) {
  if (!text) return { ...IDENTITY };
  if (!text.includes(":")) {
    const [a, b, c, d, x, y] = numbersIn(text);
    const sx = Math.hypot(a, b);
    const sy = sx === 0 ? Math.hypot(c, d) : (a * d - b * c) / sx;
    const isSheared = Math.abs(a * c + b * d) > 1e-6 * Math.max(1, sx * Math.abs(sy));
    if (isSheared || ![a, b, c, d, x, y].every(Number.isFinite)) return null;
    return { sx, sy, degrees: Number((Math.atan2(b, a) * 180 / Math.PI).toFixed(4)), x, y };
  }
  const steps = { ...IDENTITY };
  let last = -1;
  for (const step of text.trim().split(/\s+/)) {
    const [name, list] = step.split(":");
    const numbers = numbersIn(list ?? "");
    const order = ["scale", "rotate", "translate"].indexOf(name);
    if (order <= last || !numbers.every(Number.isFinite)) return null;
    last = order;
    if (name === "scale") [steps.sx, steps.sy] = [numbers[0], numbers.at(-1)];
    if (name === "rotate") [steps.degrees] = numbers;
    if (name === "translate") [steps.x, steps.y] = numbers;
  }
  return steps;
}

export function textOfSteps({ sx, sy, degrees, x, y }) {
  const parts = [];
  if (sx !== 1 || sy !== 1) parts.push(`scale:${numberText(sx)}${sx === sy ? "" : `,${numberText(sy)}`}`);
  if (degrees !== 0) parts.push(`rotate:${numberText(degrees, 4)}`);
  if (x !== 0 || y !== 0 || parts.length === 0) parts.push(`translate:${numberText(x, 2)},${numberText(y, 2)}`);
  return parts.join(" ");
}
