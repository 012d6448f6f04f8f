// radimo view: a live stream's frames, received off the page's main thread. One request
// (/api/frames) brings the frames one after the other as they come, each the newest when the one
// before has been sent; the page draws the newest frame it has whenever it is free. So neither the
// requests nor the drawing hold the stream up, and a slow page skips frames instead of falling
// behind. When that answer ends (the stream has ended, a tool cannot be measured, the server went
// away), one request for a single frame (/api/frame) says why, or brings a frame, and the stream is
// asked for again.
'use strict';

importScripts(`frames.js${self.location.search}`);

const token = new URLSearchParams(self.location.search).get('token');
let running = false, following = false, after = 'none', posted = -1;
let tools = { params: [], asked: [] };  // the page's tools, measured on every frame
let streaming = null;  // the AbortController of the answer being read

// From the page: { run } starts or stops, { after } where to go on from, { tools } the tools now
// (the stream is asked for again with them), { spare } a buffer to read frames into.
self.onmessage = (event) => {
  const m = event.data;
  if (m.after !== undefined) after = m.after;
  if (m.tools) tools = m.tools;
  if (m.run !== undefined) running = m.run;
  if (m.spare && spare.length < 4) spare.push(m.spare);
  if ((m.tools || m.run === false) && streaming) streaming.abort();
  if (running) follow();
};

function query() {
  const q = new URLSearchParams(tools.params);
  q.set('after', after);
  q.set('token', token);
  return q;
}

// Buffers of frames the page has drawn and handed back: frames are read into them, so no new
// memory is taken (and cleared by the system) for every frame.
const spare = [];

function bufferFor(size) {
  const buffer = spare.pop();
  return buffer && buffer.byteLength >= size ? buffer : new ArrayBuffer(size + 65536);  // room for a longer head
}

function post(frame) {
  if (frame.meta.index <= posted) return;  // a later frame got here first
  posted = frame.meta.index;
  after = frame.meta.index;
  self.postMessage({ frame }, [frame.samples.buffer]);
}

// Reads /api/frames until it ends; true when it was stopped here (new tools, or stopped).
async function readStream() {
  const controller = new AbortController();
  streaming = controller;
  const asked = tools.asked;
  try {
    const response = await fetch(`/api/frames?${query()}`, { signal: controller.signal });
    if (!response.ok) return false;
    const reader = response.body.getReader();
    const head = new Uint8Array(4);
    let headGot = 0, buffer = null, size = 0, got = 0;
    for (;;) {
      const { value, done } = await reader.read();
      if (done) return false;
      let at = 0;
      while (at < value.length) {
        if (buffer === null) {  // a frame's length
          const n = Math.min(4 - headGot, value.length - at);
          head.set(value.subarray(at, at + n), headGot);
          headGot += n;
          at += n;
          if (headGot < 4) break;
          headGot = 0;
          size = new DataView(head.buffer).getUint32(0, true);
          buffer = bufferFor(size);
          got = 0;
        }
        const n = Math.min(size - got, value.length - at);
        new Uint8Array(buffer, got, n).set(value.subarray(at, at + n));
        got += n;
        at += n;
        if (got === size) {
          post(Object.assign(decodeFrame(buffer), { asked }));
          buffer = null;
        }
      }
    }
  } catch (e) {
    return controller.signal.aborted;
  } finally {
    streaming = null;
  }
}

// One frame from /api/frame: { frame }, or { ended } / { error } / {} (nothing new in time).
async function askOne() {
  const asked = tools.asked;
  const q = query();
  q.set('wait', 2000);
  try {
    const response = await fetch(`/api/frame?${q}`);
    if (response.status === 204) {
      const why = response.headers.get('X-Radimo-Ended');
      return why ? { ended: why } : {};
    }
    if (!response.ok) {
      const body = await response.json().catch(() => ({}));
      return { error: body.error || `HTTP ${response.status}` };
    }
    const buffer = await response.arrayBuffer();
    return { frame: Object.assign(decodeFrame(buffer), { asked }) };
  } catch (e) {
    return { error: `the server does not answer (${e.message})`, offline: true };
  }
}

async function follow() {
  if (following) return;
  following = true;
  try {
    while (running) {
      if (await readStream()) continue;
      if (!running) break;
      const answer = await askOne();
      if (answer.frame) post(answer.frame);
      if (answer.ended) running = false;
      if (answer.ended || answer.error) self.postMessage(answer);
      if (answer.error) await new Promise((r) => setTimeout(r, answer.offline ? 1000 : 500));
    }
  } finally {
    following = false;
  }
}
