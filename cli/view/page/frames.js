// radimo view: the frame message, read by the page (frames of files) and by live.js (a live stream).
'use strict';

// The frame message: u32 length, JSON, padding to 4 bytes, then u16 or float32 samples.
function decodeFrame(buffer) {
  const length = new DataView(buffer).getUint32(0, true);
  const meta = JSON.parse(new TextDecoder().decode(new Uint8Array(buffer, 4, length)));
  const start = Math.ceil((4 + length) / 4) * 4;
  const pixels = meta.width * meta.height;
  const samples = meta.samples === 'u16' ? new Uint16Array(buffer, start, pixels) : new Float32Array(buffer, start, pixels);
  return { meta, samples, width: meta.width, height: meta.height, divisor: meta.divisor || 0 };
}
