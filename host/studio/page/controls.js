// controls.js - one control per type of a key.
//
// A control is {element, update(text)}: it shows a text and calls `change` with a new one. Texts are in the spelling of
// the command line. The type and the unit of a key choose its control.

import {
  colorSpaces, colorText, columnsOf, componentsOf, defaultText, isAngle, isTime, keyTitle, listText, numberText,
    numbersIn,
  rangeOf, stepOf,
} from "./catalogue.js";
import { IDENTITY, stepsOf, textOfSteps } from "./transform.js";

export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name.startsWith("aria-") || name === "role") element.setAttribute(name, value);
    else element[name] = value;
  }
  element.append(...children);
  return element;
}

function numberField(label, change, properties = {}) {
  const field = make("input", { type: "number", step: "any", "aria-label": label, ...properties });
  field.addEventListener("input", () => {
    if (field.value !== "" && Number.isFinite(field.valueAsNumber)) change();
  });
  return field;
}

// Leaves a field alone in which somebody is typing, and empties it for a text that is not a number.
function put(field, text) {
  if (field.type === "number" && !Number.isFinite(Number(text))) text = "";
  if (document.activeElement === field && Number(field.value) === Number(text)) return;
  if (field.value !== text) field.value = text;
}

const DEGREES = 180 / Math.PI;

function numberControl(key, { change, photo, play }) {
  const label = keyTitle(key);
  const unit = isAngle(key) ? DEGREES : 1;
  const range = rangeOf(key, photo).map((number) => number * unit);
  const slider = make("input", {
    type: "range", min: range[0], max: range[1], step: isAngle(key) ? 0.5 : stepOf(range), "aria-label": label,
  });
  const field = numberField(`${label}, number`, () => change(numberText(field.valueAsNumber / unit)));
  slider.addEventListener("input", () => change(numberText(slider.valueAsNumber / unit)));
  const row = make("div", { className: "row slide" }, slider, field);
  if (isAngle(key)) row.append(make("span", { className: "unit", textContent: "°" }));
  if (key.unit === "pixels") row.append(make("span", { className: "unit", textContent: "px" }));
  if (isTime(key)) {
    const button = make("button", { type: "button", className: "icon", textContent: "▶", "aria-label": "Play" });
    button.addEventListener("click", () => play(key, button));
    row.append(button);
  }
  return {
    element: row,
    update(text) {
      const shown = numberText(Number(text) * unit, isAngle(key) ? 2 : 6);
      if (Number.isFinite(Number(shown))) slider.value = shown;
      slider.setAttribute("aria-valuetext", shown
        + (isAngle(key) ? " degrees" : key.unit === "pixels" ? " pixels" : ""));
      put(field, shown);
    },
  };
}

function colorControl(key, { change }) {
  const label = keyTitle(key);
  const picker = make("input", { type: "color", "aria-label": label });
  const alpha = make("input", { type: "range", min: 0, max: 1, step: 0.01, "aria-label": `${label}, alpha` });
  const read = () => change(colorText([...componentsOf(picker.value).slice(0, 3), alpha.valueAsNumber]));
  picker.addEventListener("input", read);
  alpha.addEventListener("input", read);
  const percent = make("output", { className: "unit" });
  return {
    element: make("div", { className: "row slide" }, picker, alpha, percent),
    update(text) {
      const components = componentsOf(text);
      picker.value = colorText([...components.slice(0, 3).map((c) => Math.min(1, Math.max(0, c))), 1]);
      alpha.value = components[3];
      percent.textContent = `${Math.round(components[3] * 100)} %`;
      alpha.setAttribute("aria-valuetext", `${Math.round(components[3] * 100)} percent`);
    },
  };
}

const PARTS = { position: ["x", "y", "z"], rectangle: ["x", "y", "width", "height"] };

function vectorControl(key, { change, filter }) {
  const count = (key.default ?? [0, 0, 0, 0]).length;
  const names = PARTS[key.unit];
  const read = () => change(listText(fields.map((field) => (field.value === "" ? 0 : field.valueAsNumber)), 6));
  const fields = Array.from({ length: count }, (_, i) => numberField(`${keyTitle(key)}, ${names?.[i] ?? i + 1}`, read));
  const grid = make("div", { className: "grid", role: "group", "aria-label": keyTitle(key) }, ...fields);
  grid.style.gridTemplateColumns = `repeat(${names ? Math.min(count, 4) : columnsOf(filter, count)}, minmax(0, 1fr))`;
  return {
    element: grid,
    update(text) {
      numbersIn(text).forEach((number, i) => fields[i] && put(fields[i], numberText(number)));
    },
  };
}

function transformControl(key, { change }) {
  let steps = { ...IDENTITY };
  const labels = { x: "Move x", y: "Move y", degrees: "Rotate, degrees", sx: "Scale x", sy: "Scale y" };
  const fields = {};
  const read = () => {
    for (const [name, field] of Object.entries(fields)) if (field.value !== "") steps[name] = field.valueAsNumber;
    change(textOfSteps(steps));
  };
  const grid = make("div", { className: "grid labeled", role: "group", "aria-label": keyTitle(key) });
  for (const [name, label] of Object.entries(labels)) {
    fields[name] = numberField(label, read, { step: name.startsWith("s") ? 0.05 : 1 });
    grid.append(make("label", {}, label, fields[name]));
  }
  const other = make("input", { type: "text", spellcheck: false, "aria-label": `${keyTitle(key)}, as text` });
  other.addEventListener("change", () => change(other.value));
  return {
    element: make("div", {}, grid, other),
    update(text) {
      const next = stepsOf(text);
      grid.hidden = !next;
      other.hidden = Boolean(next);
      if (document.activeElement !== other) other.value = text;
      if (!next) return;
      steps = next;
      for (const [name, field] of Object.entries(fields)) put(field, numberText(steps[name], 4));
    },
  };
}

function choice(label, change) {
  const select = make("select", { "aria-label": label });
  select.addEventListener("change", () => change(select.value));
  return select;
}

function fill(select, options, value) {
  const wanted = JSON.stringify(options);
  if (select.dataset.options !== wanted) {
    select.replaceChildren(...options.map(([text, name]) => make("option", { value: text, textContent: name })));
    select.dataset.options = wanted;
  }
  select.value = value;
}

const OPEN = "open";

function fileControl(key, { change, files, steps, open }, kind) {
  const select = choice(keyTitle(key), async (value) => {
    if (value !== OPEN) return change(value);
    const number = await open(kind);
    return number ? change(`#${number}`) : update(current);
  });
  let current = "";
  const update = (text) => {
    current = text;
    const options = kind === "picture" ? steps(key) : [["", "Choose a table"]];
    for (const file of files()) if (file.kind === kind) options.push([`#${file.number}`, file.name]);
    options.push([OPEN, kind === "cube" ? "Open a .cube file…" : "Open a picture…"]);
    if (!options.some(([value]) => value === text)) options.unshift([text, text]);
    fill(select, options, text);
  };
  return { element: make("div", { className: "row" }, select), update };
}

function listControl(key, { change }, names) {
  const select = choice(keyTitle(key), change);
  return {
    element: make("div", { className: "row" }, select),
    update: (text) => fill(select, [...(names.includes(text) ? [] : [[text, text || "Default"]]),
      ...names.map((name) => [name, name])], text),
  };
}

function textControl(key, { change }) {
  const field = make("input", { type: "text", "aria-label": keyTitle(key) });
  field.addEventListener("input", () => change(field.value));
  return { element: make("div", { className: "row" }, field), update: (text) => put(field, text) };
}

const CONTROLS = {
  double: numberControl,
  integer: numberControl,
  boolean: (key, context) => listControl(key, context, ["yes", "no"]),
  CIColorQOR: colorControl,
  CIVectorQOR: vectorControl,
  NSAffineTransformQOR: transformControl,
  CIImageQOR: (key, context) => fileControl(key, context, "picture"),
  memoryblock: (key, context) => fileControl(key, context, "cube"),
  CGColorSpaceQOR: (key, context) => listControl(key, context, colorSpaces),
};

// A labeled control with a button that resets it. `context` has change(text), reset(), photo, filter, files(),
// steps(key), open(kind) and play(key, button).
export function control(key, context) {
  const build = key.values ? () => listControl(key, context, key.values) : CONTROLS[key.type] ?? textControl;
  const { element, update } = build(key, context);
  const reset = make("button", {
    type: "button", className: "icon reset", textContent: "↺", title: "Reset to default",
    "aria-label": `Reset ${keyTitle(key)}`,
  });
  reset.addEventListener("click", () => context.reset());
  const head = make("div", { className: "name", title: key.description ?? "" }, make("span",
    { textContent: keyTitle(key) }), reset);
  return {
    element: make("div", { className: "control" }, head, element),
    update(text, isSet) {
      reset.style.visibility = isSet ? "visible" : "hidden";
      update(text ?? defaultText(key));
    },
  };
}
