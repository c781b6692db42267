// catalogue.js - what the server says of the filters, and of the methods of an image that can be steps of a chain; and
// what follows from it for a photo: first values, ranges, steps, the grid of a vector. There is no rule for a single
// filter here.

export let filters = [];
export let steps = [];  // the filters, and the methods
export let colorSpaces = [];
const byName = new Map();

// The size of the picture that the platform's default positions and rectangles are meant for.
const DEFAULT_SIDE = 300;

// Larger numbers stand for infinity.
const BEYOND = 1e9;

export async function load() {
  let methods = [];
  ({ filters, methods, colorSpaces } = await (await fetch("/catalogue.json")).json());
  for (const filter of [...filters, ...methods]) {
    filter.keys = filter.properties.filter((key) => key.name !== "outputImage" && !key.readOnly);
    // An added filter may have neither.
    filter.displayName ||= filter.filter;
    filter.category ||= "Added";
    filter.search = [filter.filter, filter.displayName, filter.description, filter.category, filter.categories]
      .join(" ").toLowerCase();
    // A filter wins over a method of the same name, as in a recipe.
    if (!byName.has(filter.filter)) byName.set(filter.filter, filter);
  }
  steps = [...byName.values()];
}

export function filterOf(card) {
  return byName.get(card.filter);
}

export function keyTitle(key) {
  if (key.displayName) return key.displayName;
  const words = key.name.replace(/^input/, "").replace(/([a-z])([A-Z0-9])/g, "$1 $2");
  return words[0].toUpperCase() + words.slice(1);
}

export function numberText(number, digits = 6) {
  return String(Number(Number(number).toFixed(digits)));
}

export function listText(numbers, digits = 4) {
  return numbers.map((number) => numberText(number, digits)).join(",");
}

export function numbersIn(text) {
  return String(text).split(",").map(Number);
}

function hex(component) {
  return Math.round(Math.min(1, Math.max(0, component)) * 255).toString(16).padStart(2, "0");
}

// A color as #rrggbbaa, from components or from any of the spellings that the page itself makes.
export function colorText(components) {
  const [r, g, b, a = 1] = components;
  const isPlain = components.every((component) => component >= 0 && component <= 1);
  return isPlain ? `#${hex(r)}${hex(g)}${hex(b)}${a === 1 ? "" : hex(a)}` : listText([r, g, b, a]);
}

export function componentsOf(text) {
  if (!text.startsWith("#")) {
    const numbers = numbersIn(text);
    return numbers.length >= 3 && numbers.every(Number.isFinite) ? [...numbers, 1].slice(0, 4) : [0, 0, 0, 1];
  }
  let digits = text.slice(1);
  if (digits.length < 6) digits = [...digits].map((digit) => digit + digit).join("");
  const parts = digits.match(/../g).map((part) => parseInt(part, 16) / 255);
  return parts.length === 3 ? [...parts, 1] : parts;
}

// The text of a key's default; empty when it has none.
export function defaultText(key) {
  const value = key.default;
  if (value === undefined || value === null) return "";
  if (key.type === "CIColorQOR") return colorText(value);
  if (Array.isArray(value)) return listText(value);
  return typeof value === "object" ? "" : String(value);
}

// The value of a key in a new card. Positions and rectangles fit the photo; pictures are another photo, if
// there is one.
export function firstText(key, photo, others) {
  const scale = [photo.width / DEFAULT_SIDE, photo.height / DEFAULT_SIDE];
  const isInfinite = Array.isArray(key.default) && key.default.some((number) => Math.abs(number) > BEYOND);
  if (isInfinite && key.unit === "rectangle") return listText([0, 0, photo.width, photo.height]);
  if (Array.isArray(key.default) && (key.unit === "position" || key.unit === "rectangle")) {
    return listText(key.default.map((number, i) => Math.round(number * scale[i % 2])));
  }
  if (key.type === "CIImageQOR") {
    if (key.name === "inputImage") return "";
    return others.length > 0 ? `#${others[0].number}` : "$input";
  }
  // The parameters of a method have no defaults.
  if (key.isParameter) {
    if (key.values) return key.values[0];
    if (key.type === "CIVectorQOR") return listText([0, 0, photo.width, photo.height]);
    if (key.type === "NSAffineTransformQOR") return "scale:1";
    return numberText(photo[key.name] ?? 1);
  }
  return "";
}

// What a control shows: the setting, or the default.
export function textOf(card, key) {
  return card.settings[key.name] ?? defaultText(key);
}

export function isAngle(key) {
  return key.unit === "angle";
}

export function isTime(key) {
  return key.attributeType === "CIAttributeTypeTime";
}

// The range of a key's slider.
export function rangeOf(key, photo) {
  if (isAngle(key)) return [-Math.PI, Math.PI];
  const initial = Number(key.default ?? 0);
  let low = key.sliderMin ?? key.min ?? Math.min(0, 2 * initial);
  let high = key.sliderMax ?? key.max;
  if (high === undefined || high > 1e6) high = key.unit === "pixels" && photo ? photo.width : Math.max(1, 2 * initial);
  if (low < -1e6) low = -high;
  return low < high ? [low, high] : [low, low + 1];
}

export function stepOf([low, high]) {
  const step = 10 ** Math.floor(Math.log10((high - low) / 100));
  return high - low > 400 ? 1 : step;
}

// The number of columns in which a vector's numbers are shown: a kernel as the filter's title draws it.
export function columnsOf(filter, count) {
  const title = filter.displayName + filter.filter;
  const kernel = title.match(/(\d+)\s*[xX]\s*(\d+)/);
  if (kernel && Number(kernel[1]) * Number(kernel[2]) === count) return Number(kernel[1]);
  if (/vertical/i.test(title)) return 1;
  return Math.min(count, count > 10 ? 5 : 10);
}
