// live.js - the connection to the server: calls by name, answers by id.
//
// A call returns a promise of its answer, {json, bytes}. It is rejected when the answer has an error, which then has
// the card that caused it. When the connection is lost, it is made again, and calls that wait are rejected.

const secret = document.querySelector("meta[name=secret]").content;
const waiting = new Map();
const listeners = { open: () => {}, lost: () => {} };
let socket = null;
let lastId = 0;

function receive({ data }) {
  let json;
  let bytes = null;
  if (typeof data === "string") {
    json = JSON.parse(data);
  } else {
    const length = new DataView(data).getUint32(0, true);
    json = JSON.parse(new TextDecoder().decode(new Uint8Array(data, 4, length)));
    bytes = new Uint8ClampedArray(data, 4 + length);
  }
  const call = waiting.get(json.id);
  if (call && "written" in json) {
    call.report(json);
    return;
  }
  waiting.delete(json.id);
  if (!call) return;
  if (json.error) call.reject(Object.assign(new Error(json.error), { card: json.card }));
  else call.resolve({ json, bytes });
}

function connect() {
  socket = new WebSocket(`ws://${location.host}/live?secret=${secret}`);
  socket.binaryType = "arraybuffer";
  socket.addEventListener("message", receive);
  socket.addEventListener("open", () => listeners.open());
  socket.addEventListener("close", () => {
    for (const call of waiting.values()) call.reject(new Error("the connection to the studio was lost"));
    waiting.clear();
    listeners.lost();
    setTimeout(connect, 1000);
  });
}

export function start({ open, lost }) {
  Object.assign(listeners, { open, lost });
  connect();
}

// `report` is called with the server's reports of progress.
export function call(name, members = {}, report = () => {}) {
  return new Promise((resolve, reject) => {
    if (socket.readyState !== WebSocket.OPEN) {
      reject(new Error("the studio is not connected"));
      return;
    }
    const id = ++lastId;
    waiting.set(id, { resolve, reject, report });
    socket.send(JSON.stringify({ id, call: name, ...members }));
  });
}

// Forgets the calls of which the server may have dropped the answer: those before one that was answered.
export function forget(id) {
  waiting.delete(id);
}

export function lastCall() {
  return lastId;
}

// Sends a file that was dropped on the page. Returns the server's answer.
export async function drop(file) {
  const answer = await fetch(`/drop?name=${encodeURIComponent(file.name)}`, {
    method: "POST",
    body: file,
    headers: { "X-Zeva-Secret": secret },
  });
  if (!answer.ok) throw new Error((await answer.text()).trim());
  const json = await answer.json();
  if (json.error) throw new Error(json.error);
  return json;
}
