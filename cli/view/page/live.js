// radimo view: a live stream's frames, asked for off the page's main thread. Each request asks for
// the frame after the last one and the server answers with the newest as soon as there is one. The
// next request leaves as soon as an answer's head (with the frame's index) is in, while its samples
// are still arriving and whatever the page is doing; the page draws the newest frame it has. So
// neither the transfer nor the drawing holds the stream up, and a slow page skips frames instead of
// falling behind.
'use strict';

importScripts(`frames.js${self.location.search}`);

const token = new URLSearchParams(self.location.search).get('token');
let running = false, following = false, after = 'none', posted = -1;
let tools = { params: [], asked: [] };  // the page's tools, measured on every frame

// From the page: { run } starts or stops, { after } where to go on from, { tools } the tools now,
// { spare } a buffer to read frames into.
self.onmessage = (event) => {
  const m = event.data;
  if (m.after !== undefined) after = m.after;
  if (m.tools) tools = m.tools;
  if (m.run !== undefined) running = m.run;
  if (m.spare && spare.length < 4) spare.push(m.spare);
  if (running) follow();
};

// One request: { index, body } once its head is in (body: the promise of the decoded frame), or
// { ended } / { error } / {} (nothing new in time).
async function ask() {
  const asked = tools.asked;
  const query = new URLSearchParams(tools.params);
  query.set('after', after);
  query.set('wait', 2000);
  query.set('token', token);
  try {
    const response = await fetch(`/api/frame?${query}`);
    if (response.status === 204) {
      const why = response.headers.get('X-Radimo-Ended');
      return why ? { ended: why } : {};
    }
    if (!response.ok) {
      const body = await response.json().catch(() => ({}));
      return { error: body.error || `HTTP ${response.status}` };
    }
    const body = readBody(response).then((buffer) => Object.assign(decodeFrame(buffer), { asked }));
    return { index: Number(response.headers.get('X-Radimo-Frame')), body };
  } catch (e) {
    return { error: `the server does not answer (${e.message})`, offline: true };
  }
}

// Buffers of frames the page has drawn and handed back: a stream's frames are read into them, so no
// new memory is taken (and cleared by the system) for every frame.
const spare = [];

async function readBody(response) {
  const size = Number(response.headers.get('Content-Length'));
  if (!(size > 0) || !response.body || typeof ReadableStreamBYOBReader === 'undefined') return response.arrayBuffer();
  let buffer = spare.pop();
  if (!buffer || buffer.byteLength < size) buffer = new ArrayBuffer(size + 65536);  // room for a longer head
  const reader = response.body.getReader({ mode: 'byob' });
  let got = 0;
  while (got < size) {
    const { value, done } = await reader.read(new Uint8Array(buffer, got, size - got));
    if (done) throw new Error(`the answer ended after ${got} of ${size} bytes`);
    buffer = value.buffer;
    got += value.byteLength;
  }
  return buffer;
}

function post(frame) {
  if (frame.meta.index <= posted) return;  // a later frame got here first
  posted = frame.meta.index;
  self.postMessage({ frame }, [frame.samples.buffer]);
}

async function follow() {
  if (following) return;
  following = true;
  let arriving = null;
  try {
    while (running) {
      const answer = await ask();
      if (answer.body) {
        after = answer.index;
        const body = answer.body.then(post, (e) => self.postMessage({ error: `frame ${answer.index}: ${e.message}` }));
        if (arriving) await arriving;  // at most two frames on their way
        arriving = body;
        continue;
      }
      if (answer.ended) {
        if (arriving) await arriving;  // the last frames first
        running = false;
      }
      if (answer.ended || answer.error) self.postMessage(answer);
      if (answer.error) await new Promise((r) => setTimeout(r, answer.offline ? 1000 : 500));
    }
  } finally {
    following = false;
  }
}
